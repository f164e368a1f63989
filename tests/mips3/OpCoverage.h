// The op words that the tables of the op tests exercise, so that one test can tell which row of the
// op table has none.
#pragma once

#include <vector>

#include "base/Types.h"

namespace vx {

std::vector<u32> RegisterOpWords();
std::vector<u32> MultiplierOpWords();
std::vector<u32> LoadStoreOpWords();
std::vector<u32> BranchOpWords();
std::vector<u32> FpArithmeticOpWords();
std::vector<u32> FpCompareOpWords();
std::vector<u32> FpMoveOpWords();

}  // namespace vx
