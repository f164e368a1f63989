// Keyboard and game controllers as input records.
#pragma once

#include <SDL.h>

#include <array>
#include <vector>

#include "host/Bindings.h"
#include "plugin/Quillon.h"

namespace vx {

// Main thread, with SDL's video running. The first controller plugged in is the first player's;
// controllers may come and go.
class CControls {
 public:
  explicit CControls(const std::vector<SBinding>& bindings);
  ~CControls();
  CControls(const CControls&) = delete;
  CControls& operator=(const CControls&) = delete;

  void HandleEvent(const SDL_Event& event);

  // What is held down now.
  void Read(std::array<SInputRecord, kHostPlayers>& records) const;

 private:
  struct SWire {
    u32 player;
    u32 padBit;
    u32 systemBit;
    SDL_Scancode key = SDL_SCANCODE_UNKNOWN;
    u32 padIndex = 0;
    SDL_GameControllerButton button = SDL_CONTROLLER_BUTTON_INVALID;
    SDL_GameControllerAxis axis = SDL_CONTROLLER_AXIS_INVALID;
    bool bNegativeAxis = false;
  };

  static SWire MakeWire(const SBinding& binding);
  bool IsHeld(const SWire& wire, const u8* keys) const;
  void Plug(i32 deviceIndex);
  void Unplug(SDL_JoystickID instance);

  std::vector<SWire> wires_;
  std::array<SDL_GameController*, kHostPlayers> pads_{};
};

}  // namespace vx
