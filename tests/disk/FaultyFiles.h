// File operations of the C library that fail where a test says. The program is linked so that each
// call of them comes here first.
#pragma once

#include <array>
#include <string>

#include "base/Types.h"

namespace vx::test {

enum class EFileOp : u32 {
  Open,
  Examine,
  Read,
  Seek,
  Write,
  Flush,
  Sync,
  Close,
  Rename,
  Remove,
  Count
};
inline constexpr u32 kFileOpCount = static_cast<u32>(EFileOp::Count);
const char* FileOpName(EFileOp op);

// Which calls fail while the object exists: `count` of them from the `first`-th on, counted from 0.
// The fault can be narrowed to files whose name holds a text; operations on streams and descriptors
// go by the name that they were opened with.
struct SFault {
  EFileOp op = EFileOp::Open;
  u32 first = 0;
  u32 count = 0xFFFFFFFF;
  std::string name;
};

class CFaultyFiles {
 public:
  explicit CFaultyFiles(const SFault& fault);
  ~CFaultyFiles();
  CFaultyFiles(const CFaultyFiles&) = delete;
  CFaultyFiles& operator=(const CFaultyFiles&) = delete;

  // Calls that have failed so far, and calls of each kind that were seen.
  u32 Failed() const;
  static u32 Seen(EFileOp op);
};

}  // namespace vx::test
