// Moves, loads and memory accesses, from their text to their fields.
#pragma once

#include "tools/adspasm/Isa.h"
#include "tools/adspasm/Symbols.h"

namespace vx::adsp {

// An address register and the modifier that it steps by, both of one generator.
struct SPointer {
  u32 index = 0;     // 0 to 7
  u32 modifier = 0;  // 0 to 7
};

enum class ETransfer : u32 {
  Move,            // register = register
  LoadImmediate,   // register = value
  LoadDirect,      // register = DM(address)
  StoreDirect,     // DM(address) = register
  Load,            // register = DM(I,M) or PM(I,M)
  Store,           // DM(I,M) or PM(I,M) = register
  StoreImmediate,  // DM(I,M) = value
};

struct STransfer {
  ETransfer kind = ETransfer::Move;
  const SRegister* reg = nullptr;     // of the text: the one that is loaded or stored
  const SRegister* source = nullptr;  // of a move
  bool bProgramMemory = false;
  SPointer pointer;
  u32 value = 0;  // as it goes into the field
};

// Throw CSourceError.
STransfer ParseTransfer(CTokens& tokens, CSymbols& symbols, i64 here);
SPointer ParsePointer(CTokens& tokens);  // "(I0,M1)"

enum class ESign : u32 { Unsigned, Either };

// A value as it goes into a field of so many bits: 0 up to all ones or, with either sign, also down
// to the least signed number. Throws CSourceError.
u32 FitField(i64 value, u32 bits, ESign sign, const std::string& what);

}  // namespace vx::adsp
