// The guest code that one run has discovered: code words by record index, and where blocks begin.
// Read from a file of discovered code, and if there is one from an image of the guest's memory.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "base/Types.h"
#include "mips3/AddressMap.h"

namespace vx::blockgen {

// What is wrong, in one sentence with the file's name.
class CInputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class CGuestCode {
 public:
  // Throws CInputError if a file cannot be read or is none of its kind. The image is the guest's
  // flat memory from its start; without a path words come from the records.
  CGuestCode(const std::string& cachePath, const std::string& imagePath);
  CGuestCode() : words_(kRecordCount), marks_(kRecordCount) {}

  // Takes a word as a record of the run, with the record's flags.
  void Add(u32 index, u32 word, u32 flags);

  bool IsKnown(u32 index) const { return index < kRecordCount && (marks_[index] & kKnown) != 0; }
  bool IsHead(u32 index) const { return index < kRecordCount && (marks_[index] & kHead) != 0; }
  // Whether the run executed it as the delay op of a branch.
  bool IsDelayOp(u32 index) const { return index < kRecordCount && (marks_[index] & kDelay) != 0; }
  u32 Word(u32 index) const { return words_[index]; }
  // Whether words are those of memory, rather than those that records were formed with.
  bool HasImage() const { return bImage_; }

 private:
  enum EMark : u8 { kKnown = 1, kHead = 2, kDelay = 4 };

  void TakeImage(const std::string& path);

  std::vector<u32> words_;
  std::vector<u8> marks_;
  bool bImage_ = false;
};

}  // namespace vx::blockgen
