// The saved states of a run: slots, files, and what can be taken back.
#pragma once

#include <optional>
#include <string>

#include "host/Session.h"
#include "host/StateFile.h"
#include "host/StateSlots.h"
#include "host/vxrun/Options.h"

namespace vx {

// Whether states may be loaded: a movie goes its way from power-on.
enum class EMovieRuns { No, Yes };

// One thread, the session's. What the player asks for is answered by a sentence in any case, for a
// state that cannot be saved or loaded is no reason to end a game; what the command line asks for
// throws CHostError.
class CStateDeck {
 public:
  CStateDeck(const SOptions& options, const SStateOwner& owner, CSession& session,
             EMovieRuns movieRuns);

  // The command line's: a slot, 0 to 9, or a file. Both throw CHostError.
  void LoadFrom(const std::string& slotOrFile);
  std::string SaveTo(const std::string& slotOrFile);

  // The player's.
  std::string Save();
  std::string Load();
  std::string UndoSave();
  std::string UndoLoad();
  std::string List() const { return slots_.List(owner_); }
  // Moves to the next slot or the one before, around the ends.
  std::string MoveSlot(i32 by);
  u32 Slot() const { return slot_; }

  // The latest picture, for the states to come.
  void TakePicture(const u32* pixels, u32 width, u32 height);

 private:
  void CheckMayLoad() const;
  void Go(std::span<const u8> stream, const std::string& path);

  std::string packPath_;
  SStateOwner owner_;
  CSession& session_;
  EMovieRuns movieRuns_;
  CStateSlots slots_;
  u32 slot_ = 0;
  std::vector<u32> picture_;
  u32 pictureWidth_ = 0;
  std::optional<CStateBuffer> beforeLoad_;
};

// The slots of a pack, for a run of `owner`.
std::string ListStates(const SOptions& options, const SStateOwner& owner);

}  // namespace vx
