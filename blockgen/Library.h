// A library of native blocks as files: C++ units of functions, the native table, and the image of
// the lookup table.
#pragma once

#include <string>
#include <vector>

#include "base/Types.h"
#include "blockgen/Blocks.h"

namespace vx::blockgen {

// A function's name comes from its words alone, and so does the unit that it lies in: a block more
// or less leaves all other units as they are.
struct SFunction {
  std::string name;
  std::string body;
  const Words* words;  // of the first block that it serves
};

struct SRow {
  const Words* words;
  u32 function;  // index of the function that serves it
};

struct SLibrary {
  std::vector<SRow> rows;            // in table order: by bucket, and within it as lookups need it
  std::vector<SFunction> functions;  // in the order of the rows that need them first
};

// Blocks with equal bodies share a function. The set outlives the library.
SLibrary BuildLibrary(const std::set<Words>& blocks);

std::vector<u8> TableImage(const SLibrary& library);
// Source of one unit out of `units`, and of the table with all functions' names. The table's source
// takes the image's path from the definition VX_BLOCK_TABLE_IMAGE.
std::string UnitSource(const SLibrary& library, u32 unit, u32 units);
std::string TableSource(const SLibrary& library);

}  // namespace vx::blockgen
