// How a host run ends: the exit codes, and the error that carries one sentence up to the program.
#pragma once

#include <stdexcept>
#include <string>

namespace vx {

enum class EExitCode : int {
  Ok = 0,
  Usage = 1,
  FileUnreadable = 2,
  NotAPack = 3,
  PackDamaged = 4,
  ComponentUnusable = 5,
  NoDisplay = 6,
  OutputFailed = 7,
  OutOfMemory = 8,
  Desync = 9,
  MovieUnusable = 10,
  StateUnusable = 11,
  Interrupted = 130,
};

struct SExitCodeText {
  EExitCode code;
  const char* meaning;
};

// clang-format off
inline constexpr SExitCodeText kExitCodeTexts[] = {
  { EExitCode::Ok,                "the run ended as asked" },
  { EExitCode::Usage,             "an option, a setting or a line of a text file is wrong" },
  { EExitCode::FileUnreadable,    "the pack or another file is missing or cannot be read" },
  { EExitCode::NotAPack,          "the file is no pack, or a pack of another version or board" },
  { EExitCode::PackDamaged,       "the pack is truncated or damaged" },
  { EExitCode::ComponentUnusable, "the component cannot be loaded" },
  { EExitCode::NoDisplay,         "there is no display for a window" },
  { EExitCode::OutputFailed,      "an output file or folder cannot be written" },
  { EExitCode::OutOfMemory,       "the pack needs more memory than there is" },
  { EExitCode::Desync,            "the machine left the path that the input movie recorded" },
  { EExitCode::MovieUnusable,     "the input movie is damaged, or made with another pack" },
  { EExitCode::StateUnusable,     "the saved state is damaged, or is not one of this run's pack and settings" },
  { EExitCode::Interrupted,       "interrupted before the last frame that was asked for" },
};
// clang-format on

// What went wrong, in one sentence that names the file or option and reads well behind "vxrun: ".
class CHostError : public std::runtime_error {
 public:
  CHostError(EExitCode code, const std::string& sentence)
      : std::runtime_error(sentence), code_(code) {}
  EExitCode Code() const { return code_; }

 private:
  EExitCode code_;
};

}  // namespace vx
