// Keyboard and game controllers as input records and host actions.
#pragma once

#include <SDL.h>

#include <array>
#include <vector>

#include "host/Bindings.h"
#include "plugin/Quillon.h"

namespace vx {

// Whether SDL knows a key or a controller part of that name. Needs nothing of SDL to run.
bool IsKnownSource(const SSource& source);

// Main thread, with SDL's video running. Controllers may come and go: each takes the first place
// that is free, and one that found none gets the place of the next to go.
class CControls {
 public:
  explicit CControls(const std::vector<SBinding>& bindings);
  ~CControls();
  CControls(const CControls&) = delete;
  CControls& operator=(const CControls&) = delete;

  void HandleEvent(const SDL_Event& event);

  // Takes what is held down now. A key that was pressed and let go since the last call counts as
  // held once.
  void Poll();

  // Of the last Poll: the records' bits, the host actions that are held, and those that began.
  void Read(std::array<SInputRecord, kHostPlayers>& records) const;
  u32 HostHeld() const { return hostHeld_; }
  u32 HostPressed() const { return hostPressed_; }

 private:
  struct SWire {
    SControl control;
    SDL_Scancode key = SDL_SCANCODE_UNKNOWN;
    u32 place = 0;  // of the controller
    SDL_GameControllerButton button = SDL_CONTROLLER_BUTTON_INVALID;
    SDL_GameControllerAxis axis = SDL_CONTROLLER_AXIS_INVALID;
    bool bNegativeAxis = false;
    bool bHeld = false;
  };
  struct SKey {
    bool bHeld = false;
    bool bTapped = false;  // since the last Poll
  };

  static SWire MakeWire(const SBinding& binding);
  bool IsHeld(const SWire& wire) const;
  void TakeKey(const SDL_KeyboardEvent& event);
  void Plug(i32 deviceIndex);
  void Unplug(SDL_JoystickID instance);
  bool IsPlugged(SDL_JoystickID instance) const;

  std::vector<SWire> wires_;
  std::array<SKey, SDL_NUM_SCANCODES> keys_{};
  std::array<SDL_GameController*, kHostPlayers> pads_{};
  u32 hostHeld_ = 0;
  u32 hostPressed_ = 0;
};

}  // namespace vx
