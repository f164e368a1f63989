// Hooks in the sound program: a planted word in place of the program's own, whose number leads to
// its record in the machine's list.
#include <tuple>
#include <vector>

#include "script/ScriptActions.h"
#include "script/ScriptHooks.h"
#include "sound/ADSPMemory.h"

namespace vx {

namespace {

u32 HandleOf(size_t index) {
  return kPlantedWord | ((static_cast<u32>(index) + kFirstHookNumber) & 0xFFFF);
}

bool IsHook(u32 word) { return word >> 16 == 1 && (word & 0xFFFF) >= kFirstHookNumber; }

void Restore(CVXMachine* m, const SDspPatch& hook) {
  u32& word = HookedWord(m->sound.state, hook.address);
  if (word == hook.handle) word = hook.savedWord;
}

// Gives the record at this place its new handle, in memory and where another hook has saved it.
void Renumber(CVXMachine* m, size_t index) {
  SDspPatch& hook = m->dspPatchList[index];
  const u32 old = hook.handle;
  hook.handle = HandleOf(index);
  if (hook.handle == old) return;
  u32& word = HookedWord(m->sound.state, hook.address);
  if (word == old) word = hook.handle;
  for (SDspPatch& other : m->dspPatchList) {
    if (other.savedWord == old) other.savedWord = hook.handle;
  }
}

}  // namespace

void RemoveAllDspHooks(CVXMachine* m) {
  while (!m->dspPatchList.empty()) {
    Restore(m, m->dspPatchList.back());
    m->dspPatchList.pop_back();
  }
}

namespace script {

void DspPatch(const SScriptCall& call) {
  const auto [address, expected, tag] = std::tuple{call.words[0], call.words[1], call.words[2]};
  std::vector<SDspPatch>& hooks = call.m->dspPatchList;
  u32& word = HookedWord(call.m->sound.state, address);
  const bool bFits = expected == 0 || word == expected || IsHook(word);
  if (!bFits || hooks.size() >= call.bound) return call.Out<u32>(3, 0);
  const u32 handle = HandleOf(hooks.size());
  hooks.push_back({handle, word, address, tag});
  word = handle;
  call.Out(3, static_cast<u32>(hooks.size()));
}

// Last to first, so that of two hooks on one word the older one's word comes back.
void DspUnpatch(const SScriptCall& call) {
  const u32 address = call.words[0];
  std::vector<SDspPatch>& hooks = call.m->dspPatchList;
  size_t firstMoved = hooks.size();
  bool bFound = false;
  for (size_t i = hooks.size(); i-- > 0;) {
    if (hooks[i].address != address) continue;
    Restore(call.m, hooks[i]);
    hooks.erase(hooks.begin() + static_cast<std::ptrdiff_t>(i));
    firstMoved = i;
    bFound = true;
  }
  for (size_t i = firstMoved; i < hooks.size(); ++i) Renumber(call.m, i);
  call.Out(1, u32{bFound});
}

}  // namespace script
}  // namespace vx
