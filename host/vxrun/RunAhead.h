// Shows a picture of the near future, so that a player sees his input earlier.
#pragma once

#include "host/Session.h"

namespace vx {

// What a frame is for; the hooks of a run ask.
enum class EFrameUse {
  Game,        // counts: sound, files, and the picture that is shown
  GameUnseen,  // counts, but another picture is shown
  Ahead,       // thrown away, unseen and unheard
  AheadShown,  // thrown away, seen and unheard
  Back,        // of a rewind: seen and unheard
};

// A program takes a frame or more until input shows in its picture. With N frames of run-ahead each
// frame of the game is followed by N that take its input to be held on; the last of these is shown,
// and then the machine is put back. So the game itself goes its way as without, and the host does
// N + 1 times the work. One thread, the session's.
class CRunAhead {
 public:
  CRunAhead(CSession& session, u32 frames) : session_(session), frames_(frames) {}

  // Runs the frames behind the game's latest one. `use` tells the hooks what each is for, and is
  // Game afterwards. Throws CHostError (StateUnusable) if the machine cannot be put back.
  void Run(const SInputRecord* records, u32 count, EFrameUse& use);

 private:
  CSession& session_;
  u32 frames_;
  CStateBuffer state_;
  CStateBuffer present_;  // when it is needed
};

}  // namespace vx
