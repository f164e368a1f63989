// Capstone as a second opinion on op words: 64-bit MIPS, little-endian.
#pragma once

#include <capstone/capstone.h>

#include <string>
#include <vector>

#include "base/Types.h"

namespace vx::test {

// A text in its parts. Without a mnemonic: not an op.
struct SOracleText {
  std::string mnemonic;
  std::vector<std::string> operands;

  std::string Joined() const;  // as a disassembler writes it, with one blank
};

class COracle {
 public:
  COracle();
  ~COracle();
  COracle(const COracle&) = delete;
  COracle& operator=(const COracle&) = delete;

  SOracleText Read(u32 word, u32 address);

 private:
  csh handle_ = 0;
  cs_insn* room_ = nullptr;
};

}  // namespace vx::test
