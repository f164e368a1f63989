// The host's services as the component calls them. A slot that the host left null answers nothing:
// the call is skipped, and the result is 0, false or null.
#pragma once

#include <string>

#include "plugin/Quillon.h"

namespace vx {

// The host's table, kept from QuillonPlugin_Init on for the life of the component. Before that, an
// empty table.
const SHostApi& Host();
void SetHost(const SHostApi* host);

template <typename... TArguments>
void HostLog(ELogLevel level, const char* format, TArguments... arguments) {
  if (Host().Log != nullptr) Host().Log(static_cast<i32>(level), format, arguments...);
}

inline void HostInflate(void* target, const void* source, u32 targetBytes, u32 sourceBytes) {
  if (Host().Inflate != nullptr) Host().Inflate(target, source, targetBytes, sourceBytes, 0);
}

inline f64 HostClockMs() { return Host().GetClockMs != nullptr ? Host().GetClockMs() : 0.0; }

// The path of one of the component's own files: the host's folder, and a name that is made from a
// format with one %016llX and an identity.
std::wstring HostCacheFile(const wchar_t* nameFormat, u64 identity);

inline bool HostIsConfigLocked() {
  return Host().IsConfigLocked != nullptr && Host().IsConfigLocked();
}

inline bool HostInvokeMipsHook(CQuillonMachineBase* machine, u32 hook, u32 first, u32 second) {
  return Host().InvokeMipsHook != nullptr &&
         Host().InvokeMipsHook(machine, true, hook, first, second) != 0;
}

}  // namespace vx
