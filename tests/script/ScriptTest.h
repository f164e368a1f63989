// A machine with a script's memory beside it: calls of script functions by number, and a host that
// keeps what its hooks were called with.
#pragma once

#include <cstring>
#include <functional>
#include <initializer_list>
#include <vector>

#include "script/ScriptCalls.h"
#include "tests/machine/BoardTest.h"

namespace vx::test {

struct SHookCall {
  char processor;  // 'd' sound, 'm' main
  CQuillonMachineBase* machine;
  bool bFlag;
  std::vector<u32> words;
};

// What the present test's hooks have seen, and what they do.
struct SHookRecord {
  std::vector<SHookCall> calls;
  std::function<void(const SHookCall&)> onCall;
  i32 answer = 1;
};
inline SHookRecord& Hooks() {
  static SHookRecord record;
  return record;
}

// Offsets in script memory.
inline constexpr u32 kBlock = 0x100;  // of the argument
inline constexpr u32 kIn = 0x200;     // of what a call reads, in steps of 0x40
inline constexpr u32 kOut = 0x400;    // of results
inline constexpr u32 kData = 0x1000;  // of longer data
inline constexpr u32 kMemoryBytes = 0x10000;

class CScriptTest : public CBoardTest {
 protected:
  CScriptTest() : memory(kMemoryBytes) {
    Hooks() = {};
    ResetScriptHooks();
    host.Api().InvokeDspHook = [](CQuillonMachineBase* machine, bool bFlag, u32 hook, u32 word) {
      return Take({'d', machine, bFlag, {hook, word}});
    };
    host.Api().InvokeMipsHook = [](CQuillonMachineBase* machine, bool bFlag, u32 hook, u32 a,
                                   u32 b) {
      return Take({'m', machine, bFlag, {hook, a, b}});
    };
  }
  ~CScriptTest() override {
    Hooks() = {};
    ResetScriptHooks();
  }

  u64 Base() const { return reinterpret_cast<u64>(memory.data()); }
  void Scalar(u32 function, u64 value) { CallScriptFunction(m.get(), Base(), function, value); }
  // Calls with a block of these words.
  void Call(u32 function, std::initializer_list<u32> words) {
    std::memcpy(memory.data() + kBlock, words.begin(), words.size() * sizeof(u32));
    CallScriptFunction(m.get(), Base(), function, kBlock);
  }
  template <typename T>
  void Put(u32 offset, const T& value) {
    std::memcpy(memory.data() + offset, &value, sizeof(T));
  }
  template <typename T>
  T At(u32 offset) const {
    T value;
    std::memcpy(&value, memory.data() + offset, sizeof(T));
    return value;
  }
  // The result of a function that stores it in place of its argument.
  template <typename T>
  T Result(u32 function) {
    CallScriptFunction(m.get(), Base(), function, kBlock);
    return At<T>(kBlock);
  }
  // The result of a function that stores it where the block's word `word` says.
  template <typename T>
  T Ask(u32 function, std::initializer_list<u32> words) {
    Put(kOut, ~u64{0x5A5A});
    Call(function, words);
    return At<T>(kOut);
  }
  // Messages since the last call.
  std::vector<SHostLogLine> NewMessages() {
    const std::vector<SHostLogLine> all = host.LogLines();
    std::vector<SHostLogLine> fresh(all.begin() + static_cast<std::ptrdiff_t>(seen_), all.end());
    seen_ = all.size();
    return fresh;
  }

  std::vector<u8> memory;

 private:
  static i32 Take(SHookCall call) {
    Hooks().calls.push_back(call);
    if (Hooks().onCall) Hooks().onCall(call);
    return Hooks().answer;
  }
  size_t seen_ = 0;
};

}  // namespace vx::test
