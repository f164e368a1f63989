// What a run that is seen consists of: window, controls, sound device, and the player's switches.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/Bindings.h"
#include "host/PlayControl.h"
#include "host/Session.h"
#include "host/vxrun/Audio.h"
#include "host/vxrun/Controls.h"
#include "host/vxrun/Options.h"
#include "host/vxrun/Window.h"

namespace vx {

// Main thread, with SDL's video running.
class CStage {
 public:
  CStage(const SOptions& options, const std::vector<SBinding>& bindings, CSession& session);

  // Takes what the player did since the last call; false once the player has left.
  bool HandleEvents();
  // The controls as they are held now, opposite directions dropped.
  void ReadControls(std::array<SInputRecord, kHostPlayers>& records);

  CPlayControl& Play() { return play_; }

  // Whether the picture of the frame that runs now will be shown.
  bool WantsPicture() const;
  void TakePicture(u64 frame, const u32* pixels, u32 width, u32 height);
  void TakeSound(const i16* samples, u32 count, u32 rateHz);

  // Says something to the player: on a line of its own, and for a while in the title.
  void Tell(const std::string& text);

  // Shows the latest picture, and in the title how things are.
  void Present(const SDiskProgress& disk);
  // Lets a little time pass, unless the player does something.
  void Idle();

 private:
  void SaveScreenshot();

  const SOptions& options_;
  std::string packName_;  // without folders
  CQuillonMachineBase& machine_;
  CWindow window_;
  CControls controls_;
  CAudio audio_;
  CPlayControl play_;
  std::string told_;
  u64 toldUntilNs_ = 0;
  u64 shownNs_ = 0;  // when the latest picture was shown
  std::vector<u32> picture_;
  u32 pictureWidth_ = 0;
  u64 pictureFrame_ = 0;  // fast forward does not make one for each frame
};

}  // namespace vx
