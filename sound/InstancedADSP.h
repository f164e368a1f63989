// CInstancedADSP: a clone of the running sound processor with a board of its own, fed its own sound
// commands. It lives on the machine's timeline. When its program has had nothing to do for a
// while, it halts and costs nothing until it is fed again.
#pragma once

#include <vector>

#include "sound/ADSP.h"
#include "sound/SoundBoard.h"

namespace vx {

// What a clone starts from: the saved blocks of the main processor and its board, and what the two
// are wired to.
struct SDspSnapshot {
  SADSPState state;
  SSoundLinkBlock link;
  CSoundBoard::SRom rom;
  u32 mainTickId;  // the main board's autobuffer tick, which the clone's follows
};

class CInstancedADSP {
 public:
  // Registers its five events and takes the snapshot over.
  CInstancedADSP(const SDspSnapshot& snapshot, CEventQueue* queue, CSoundPort* port);
  // Cancels and frees its events, the last registered first, so that the next clone gets the same
  // ids.
  ~CInstancedADSP();
  CInstancedADSP(const CInstancedADSP&) = delete;
  CInstancedADSP& operator=(const CInstancedADSP&) = delete;

  // Appends to the command queue; only the low byte is handed over. FeedNow starts the hand-over.
  void Append(u16 command) { commands_.push_back(command); }
  void FeedNow();
  void ClearCommands() { commands_.clear(); }
  const std::vector<u16>& Commands() const { return commands_; }
  u32 FeedId() const { return feedId_; }

  CADSP processor;
  CSoundBoard board;

 private:
  static void OnFeed(void* context, u64 userData, f64 time);
  void Feed(f64 time);

  CEventQueue* queue_;
  u32 feedId_ = CEventQueue::kNoId;
  std::vector<u16> commands_;
};

}  // namespace vx
