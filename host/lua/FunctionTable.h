// The component's script functions as a host knows them: by number, with what a call's argument is
// made of. The table serves the binding of the scripting language and the manual.
#pragma once

#include <span>
#include <string>

#include "plugin/Quillon.h"

namespace vx {

enum class EFunctionForm : u8 { Reserved, NoArgument, Scalar, ResultInPlace, Block };

// What a word of the argument block stands for: a value, or the offset in script memory of what is
// read or stored.
enum class EFunctionWord : u8 {
  None,
  Value,
  U64Here,
  U8From,
  U16From,
  U32From,
  U64From,
  F32From,
  VectorFrom,
  BytesFrom,
  TextFrom,
  U8To,
  U16To,
  U32To,
  U64To,
  F64To,
  BytesTo,
};

// What a script gives or gets for a word.
enum class EScriptValue : u8 {
  Integer,
  Number,
  Boolean,
  Function,     // a callback; the word is its number
  Nothing,      // always 0, not the script's
  Optional,     // an integer; 0 if it is left out
  Size,         // an integer: the bytes of the function's BytesTo
  Length,       // of the bytes that the script gives; not an argument of its own
  Text,         // a string
  Vector,       // {x, y, z}
  VectorOrNil,  // nil is the offset 0
  Points,       // a list of {x, y, z}; results are a list of {x, y, w}
  Stride,       // of those results, and their count: not arguments
  Count,
  Camera,   // a list of twelve integers
  Signed,   // a result of 32 bits with a sign
  Success,  // a result that tells whether there is another; nil if not
};

struct SFunctionWord {
  EFunctionWord word = EFunctionWord::None;
  EScriptValue value = EScriptValue::Integer;
  const char* name = "";
  u32 end = 0;  // an integer argument must be below; 0: any of the word's width
};

inline constexpr u32 kFunctionWords = 6;

struct SFunction {
  u32 number;
  const char* name;
  EFunctionForm form;
  SFunctionWord words[kFunctionWords];
  const char* sentence;  // for the manual
};

inline constexpr u32 kFunctionCount = 76;
std::span<const SFunction, kFunctionCount> ComponentFunctions();

bool IsOutput(EFunctionWord word);
// Whether a script gives a value for this word.
bool IsArgument(const SFunctionWord& word);
// "Emu_Read32(offset) -> value"
std::string Signature(const SFunction& function);

}  // namespace vx
