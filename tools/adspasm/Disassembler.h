// The assembler's inverse.
#pragma once

#include <string>

#include "tools/adspasm/Image.h"

namespace vx::adsp {

// The instruction of a word as the assembler takes it under .ALLOW_UNIMPL. Whatever has no text of
// its own, by its class or by a bit that its class does not use, is shown as ".DW24 0x...": the
// text always assembles to the very word.
std::string Disassemble(u32 word);

// A boot image as a source that assembles to it again, with addresses and words behind.
std::string DisassembleImage(const SBootImage& image, const std::string& name);

}  // namespace vx::adsp
