// The saved states of a run: slots, files, and what can be taken back.
#pragma once

#include <future>
#include <optional>
#include <string>

#include "host/Session.h"
#include "host/StateFile.h"
#include "host/StateSlots.h"
#include "host/vxrun/Options.h"

namespace vx {

// Whether states may be loaded: a movie goes its way from power-on.
enum class EMovieRuns { No, Yes };

// Of the session's thread. What the player asks for is answered by a sentence in any case, for a
// state that cannot be saved or loaded is no reason to end a game; what the command line asks for
// throws CHostError.
class CStateDeck {
 public:
  CStateDeck(const SOptions& options, const SStateOwner& owner, CSession& session,
             EMovieRuns movieRuns);

  // The command line's: a slot, 0 to 9, or a file. Both throw CHostError.
  void LoadFrom(const std::string& slotOrFile);
  std::string SaveTo(const std::string& slotOrFile);

  // The player's. A save takes the state at once and writes it on a thread of its own, so that the
  // game goes on; Poll tells how it ended, once. All others wait for it.
  void Save();
  std::optional<std::string> Poll();
  // The same, and waits for it.
  std::optional<std::string> Finish();
  std::string Load();
  std::string UndoSave();
  std::string UndoLoad();
  std::string List();
  // Moves to the next slot or the one before, around the ends.
  std::string MoveSlot(i32 by);
  u32 Slot() const { return slot_; }

  // The latest picture, for the states to come.
  void TakePicture(const u32* pixels, u32 width, u32 height);

 private:
  SSavedState Take();
  void FinishSave();
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
  std::optional<std::string> told_;   // of a save that has ended
  std::future<std::string> pending_;  // last: it uses the slots
};

// The slots of a pack, for a run of `owner`.
std::string ListStates(const SOptions& options, const SStateOwner& owner);

}  // namespace vx
