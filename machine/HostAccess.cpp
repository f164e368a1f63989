#include "machine/HostAccess.h"

#include <cwchar>
#include <iterator>

namespace vx {

namespace {

constexpr SHostApi kNoHost{};
const SHostApi* g_host = &kNoHost;

}  // namespace

const SHostApi& Host() { return *g_host; }

void SetHost(const SHostApi* host) { g_host = host != nullptr ? host : &kNoHost; }

std::wstring HostCacheFile(const wchar_t* nameFormat, u64 identity) {
  const wchar_t* const folder = Host().GetCachePath != nullptr ? Host().GetCachePath() : nullptr;
  std::wstring path = folder != nullptr ? folder : L"";
  if (path.empty() || (path.back() != L'\\' && path.back() != L'/')) path += L'\\';
  wchar_t name[64];
  std::swprintf(name, std::size(name), nameFormat, static_cast<unsigned long long>(identity));
  return path + name;
}

}  // namespace vx
