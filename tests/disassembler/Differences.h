// What is meant to differ between our texts and Capstone's, as one table, and the comparison under
// it. Anything else that differs is a fault of one of the two.
#pragma once

#include <string>
#include <vector>

#include "base/Types.h"
#include "tests/disassembler/Oracle.h"

namespace vx::test {

struct SComparison {
  bool bEqual = false;
  u32 shownWord = 0;  // the word that Capstone was given
  std::string ours;
  std::string theirs;  // Capstone's own text
  std::string wanted;  // Capstone's text in our form
};

class CComparer {
 public:
  CComparer();

  // Holds a text of ours, with one blank behind the mnemonic, against Capstone's.
  SComparison Compare(u32 word, u32 address, const std::string& ours);

  // How often each entry of the table was needed, in its order.
  struct SUse {
    std::string entry;
    u64 count = 0;
  };
  const std::vector<SUse>& Uses() const { return uses_; }

 private:
  u32 WordToShow(u32 word);
  bool IsKnownToLack(u32 word, const SOracleText& theirs);
  void WriteNumbers(u32 word, u32 address, SOracleText& text);
  void WriteRegisters(u32 word, SOracleText& text);
  void Rename(const std::string& ours, SOracleText& text);
  void Use(std::size_t entry) { ++uses_[entry].count; }

  COracle oracle_;
  std::vector<SUse> uses_;
};

}  // namespace vx::test
