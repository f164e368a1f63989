// What can be wrong with a program whose words are all right: loops, jumps out of them, and stores
// over code.
#pragma once

#include <vector>

#include "tools/adspasm/Image.h"
#include "tools/adspasm/Statement.h"

namespace vx::adsp {

struct SPlacedInstruction {
  SPlace place;
  u32 address;
  SInstruction instruction;
  bool bLenient = false;  // loop errors are warnings, as under .ALLOW_UNIMPL
};

void CheckProgram(const std::vector<SPlacedInstruction>& program, const CImage& image,
                  CDiagnostics& diagnostics);

}  // namespace vx::adsp
