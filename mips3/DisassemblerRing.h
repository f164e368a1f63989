// Room for the short strings of which the disassembler puts a line together: a ring that all
// threads share, so that nothing has to be given back.
#pragma once

#include <mutex>

#include "base/Types.h"

namespace vx {

inline constexpr u32 kRegisterTextBytes = 16;
inline constexpr u32 kMnemonicTextBytes = 64;

// Any thread may take room at any time; the lock covers the ring's position alone. A string lasts
// until the ring has gone round, and may then be overwritten while somebody still reads it. The
// byte behind the ring stays 0, so that such a read ends too.
class CDisassemblerRing {
 public:
  static constexpr u32 kBytes = 16384;

  // At most kBytes in one piece: the start of the ring where too little remains behind the
  // position.
  char* Take(u32 bytes) {
    const std::lock_guard lock(mutex_);
    if (bytes > kBytes - position_) position_ = 0;
    char* const room = text_ + position_;
    position_ += bytes;
    return room;
  }

 private:
  std::mutex mutex_;
  u32 position_ = 0;
  char text_[kBytes + 1] = {};
};

// The one that DisassembleOp takes from: a register name that is made takes kRegisterTextBytes, a
// mnemonic with its format kMnemonicTextBytes.
CDisassemblerRing& SharedDisassemblerRing();

}  // namespace vx
