// The disassembler: the text of one op word. Nothing that executes depends on it.
//
// Names and operands are those of the op table, in the order in which the data book writes them.
// Numbers are decimal, signed where the processor extends the sign; jump and branch targets are
// eight hexadecimal digits. Words that the processor does not know print "<unimplemented>", COP0
// functions that raise an exception "<invalid cop0 op>", and the COP1 forms without a text of their
// own (cfc1 and bc1) "<cop1 - todo>". The roundings of COP1 are named although the processor lacks
// them.
#pragma once

#include <optional>

#include "base/Types.h"

namespace vx {

// Bytes that a text and its final 0 need at most.
inline constexpr u32 kOpTextBytes = 128;

enum class EOpTextStyle {
  Joined,  // "addiu$v0, $zero, 5": debug output of the board
  Spaced,  // "addiu $v0, $zero, 5": listings for people
};

// Writes the text of the op at a virtual address to `out`, which holds kOpTextBytes, and answers
// the size of the op: 4 bytes. Every word has a text. May be called on any thread. While other
// threads print some hundred FP ops, a call that is held up may give a text in which registers or
// the mnemonic of an FP op are theirs; it ends within kOpTextBytes even then.
u32 DisassembleOp(char* out, u32 word, u32 address, EOpTextStyle style = EOpTextStyle::Joined);

// Where the jump or branch at a virtual address leads, if the word tells it.
std::optional<u32> TargetOfOp(u32 word, u32 address);

}  // namespace vx
