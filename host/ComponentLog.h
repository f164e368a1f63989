// What the component says, on stderr. Information is shown only on request; a message that comes
// again and again, as from a guest gone wild, is shown a few times and then counted.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <map>
#include <mutex>

#include "plugin/Quillon.h"

namespace vx {

// Safe from any thread; each message is written in one piece.
class CComponentLog {
 public:
  static constexpr u64 kShownOfEach = 20;  // of one format, unless verbose

  explicit CComponentLog(std::FILE* out = stderr) : out_(out) {}

  void SetVerbose(bool bVerbose);
  // A printf format that ends in a newline, as the boundary has it.
  void Write(i32 level, const char* format, va_list arguments) noexcept;
  // Tells how many messages were counted only, and forgets the counts.
  void Finish() noexcept;

 private:
  std::mutex mutex_;
  std::FILE* out_;
  bool bVerbose_ = false;
  std::map<const char*, u64> counts_;  // by format address: formats are constant data
};

}  // namespace vx
