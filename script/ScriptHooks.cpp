#include "script/ScriptHooks.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

#include "machine/HostAccess.h"
#include "mips3/Breakpoints.h"
#include "script/ScriptActions.h"
#include "script/ScriptCalls.h"

namespace vx {

namespace {

struct SScriptHook {
  u32 first, second;  // the script's own, handed back as they are
};

struct SHookList {
  std::vector<SScriptHook> hooks;
  std::atomic<u8> bUsed{0};  // ever had an entry: otherwise the walk is not entered
};

std::recursive_mutex g_scriptLock;
SHookList g_onFirstReset, g_onReset, g_onFrame;

void Append(SHookList& list, const SScriptCall& call) {
  const std::lock_guard lock(g_scriptLock);
  list.hooks.push_back({call.words[0], call.words[1]});
  list.bUsed = 1;
}

// A callback may add entries, which wait for the next walk, and may empty the list.
template <typename TCall>
void Walk(const SHookList& list, TCall&& call) {
  const size_t count = list.hooks.size();
  for (size_t i = 0; i < std::min(count, list.hooks.size()); ++i) {
    const SScriptHook hook = list.hooks[i];
    call(hook);
  }
}

void NotifyReset(CVXMachine* m, const SHookList& list) {
  if (Host().InvokeDspHook == nullptr) return;
  Walk(list,
       [m](const SScriptHook& hook) { Host().InvokeDspHook(m, true, hook.first, hook.second); });
}

}  // namespace

void CVXMachine::RunResetHooks() {
  if (g_onFirstReset.bUsed != 0) {
    const std::lock_guard lock(g_scriptLock);
    if (bScriptStartSent == 0) {
      ClearAllBreakpoints(this);
      bPredecodeChanged = 1;
      NotifyReset(this, g_onFirstReset);
      bScriptStartSent = 1;
    }
  }
  if (g_onReset.bUsed != 0) {
    const std::lock_guard lock(g_scriptLock);
    RemoveAllDspHooks(this);
    NotifyReset(this, g_onReset);
  }
}

void CVXMachine::RunFrameHooks(u32 page) {
  if (g_onFrame.bUsed == 0) return;
  const std::lock_guard lock(g_scriptLock);
  Walk(g_onFrame, [this, page](const SScriptHook& hook) {
    HostInvokeMipsHook(this, hook.first, page, hook.second);
  });
}

void ResetScriptHooks() {
  const std::lock_guard lock(g_scriptLock);
  for (SHookList* const list : {&g_onFirstReset, &g_onReset, &g_onFrame}) {
    list->bUsed = 0;
    list->hooks.clear();
  }
}

namespace script {

void AddFirstResetCallback(const SScriptCall& call) { Append(g_onFirstReset, call); }
void AddResetCallback(const SScriptCall& call) { Append(g_onReset, call); }
void AddFrameCallback(const SScriptCall& call) { Append(g_onFrame, call); }

}  // namespace script
}  // namespace vx
