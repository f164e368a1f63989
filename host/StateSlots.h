// Ten places for saved states, and files of them by any name.
#pragma once

#include <optional>
#include <string>

#include "host/StateFile.h"

namespace vx {

inline constexpr u32 kStateSlots = 10;

// Files are replaced in one step: whatever ends the process, the old state or the new one is there
// in whole. One thread.
class CStateSlots {
 public:
  // States of a pack lie in `folder`, which ends in "/", under the name of the pack's file. Nothing
  // is made before the first save.
  CStateSlots(std::string folder, const std::string& packPath);

  // The file of a slot, 0 to 9, or the file of that name.
  std::string PathOf(const std::string& slotOrFile) const;
  std::string PathOf(u32 slot) const;

  // Writes a state; what was there before is kept beside it. Throws CHostError (OutputFailed).
  void Save(const std::string& path, const SSavedState& state);
  // Throws CHostError: FileUnreadable; StateUnusable.
  static SSavedState Load(const std::string& path);

  // The file that was saved last in this run is again as it was before; false if there is none, or
  // if that has been done. Throws CHostError (OutputFailed).
  bool UndoSave();
  const std::string& LastSaved() const { return lastSaved_; }

  // One line for each slot: what is in it and, if it is not for this run, why.
  std::string List(const SStateOwner& run) const;

 private:
  std::string folder_;
  std::string stem_;
  std::string lastSaved_;  // empty: nothing to undo
  bool bReplaced_ = false;
};

// Where the file that a save replaced is kept.
std::string PathBefore(const std::string& path);

}  // namespace vx
