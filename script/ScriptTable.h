// The table of all script functions: number, name, form of the argument, bound and action. A script
// reaches the machine through these numbers alone.
//
// A call brings one argument. It is a plain value, or the offset in script memory where the result
// is stored, or that of a block of u32 words. A word of a block is a value, or the offset of what
// is read or stored there. Offset 0 is an offset like any other, but for the listener's vectors.
#pragma once

#include <span>

#include "script/ScriptMemory.h"

namespace vx {

class CVXMachine;

enum class EScriptForm : u8 {
  Reserved,       // returns at once
  NoArgument,     // the argument is not looked at
  Scalar,         // the argument is the value, 32 bits
  ResultInPlace,  // the result is stored at the argument's offset
  Block,          // the argument is the offset of a block of words
};

// What a word of a block stands for.
enum class EScriptWord : u8 {
  None,
  Value,
  U64Here,  // this word and the next one are a value of 64 bits
  // Offsets of what is read.
  U8From,
  U16From,
  U32From,
  U64From,
  F32From,
  VectorFrom,  // three floats
  BytesFrom,   // as many as another word says
  TextFrom,    // bytes up to a zero
  // Offsets of what is stored; also the results in place, as the row's first word.
  U8To,
  U16To,
  U32To,
  U64To,
  F64To,
  BytesTo,
};

inline constexpr u32 kMostScriptWords = 6;

// A call on its way to its action.
struct SScriptCall {
  CVXMachine* m;
  CScriptMemory memory;
  u64 argument;
  u32 bound;
  u32 words[kMostScriptWords];

  u32 Scalar() const { return static_cast<u32>(argument); }
  template <typename T>
  T In(u32 word) const {
    return memory.Load<T>(words[word]);
  }
  template <typename T>
  void Out(u32 word, T value) const {
    memory.Store<T>(words[word], value);
  }
  template <typename T>
  void Result(T value) const {
    memory.Store<T>(argument, value);
  }
};

using ScriptAction = void (*)(const SScriptCall& call);

struct SScriptFunction {
  u32 number;
  const char* name;  // empty if reserved
  EScriptForm form;
  EScriptWord words[kMostScriptWords];
  // The first value out of range of what the action checks: a flat offset's end, a register, a
  // word's address, a count. 0: nothing is checked.
  u32 bound;
  bool bWithoutMachine;  // touches no machine
  ScriptAction action;
};

inline constexpr u32 kScriptFunctionCount = 76;

// All rows; a row's place is its number.
std::span<const SScriptFunction, kScriptFunctionCount> ScriptFunctions();

}  // namespace vx
