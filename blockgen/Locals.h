// The registers that a block holds in locals: loaded at first use, stored at the end if written.
//
// A floating point register has two: the whole, and the single in its low word, which stays in a
// register of the host's floating point unit. Only when both are wanted do they meet.
#pragma once

#include <array>
#include <string>

#include "base/Types.h"

namespace vx::blockgen {

// Readers append what has to be loaded or merged first to `text` and answer an expression; writers
// answer a statement.
class CLocals {
 public:
  std::string Read(std::string& text, u32 index);
  std::string Write(u32 index, const std::string& value);

  std::string ReadWhole(std::string& text, u32 index);
  std::string WriteWhole(u32 index, const std::string& value);
  std::string ReadSingle(std::string& text, u32 index);
  std::string WriteSingle(u32 index, const std::string& value);

  // The stores that bring the registers up to date as things stand here.
  std::string WriteBack(const std::string& indent) const;

 private:
  struct SLocal {
    bool bDeclared = false;
    bool bCurrent = false;  // holds the register's value
    bool bDirty = false;    // which memory does not
  };

  static std::string Assign(SLocal& local, const char* type, const std::string& name,
                            const std::string& value);

  std::array<SLocal, 32> general_{};
  std::array<SLocal, 32> whole_{};  // its low word may be out of date: then the single is dirty
  std::array<SLocal, 32> single_{};
};

}  // namespace vx::blockgen
