// The C++ of one native block. Its ops become calls of the functions that the op table names, on
// locals that hold the registers which the block touches; the host's compiler folds what is
// constant and drops what is not used. Nothing of a guest address goes in.
#pragma once

#include <span>
#include <string>

#include "base/Types.h"

namespace vx::blockgen {

// The statements between a function's braces. The words are those of a block that CollectBlocks has
// passed.
std::string EmitBody(std::span<const u32> words);

// Each word with its mnemonic, as comment lines to stand before a function.
std::string EmitListing(std::span<const u32> words);

}  // namespace vx::blockgen
