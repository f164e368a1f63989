#include "host/vxrun/Controls.h"

#include <algorithm>

namespace vx {

namespace {
constexpr i16 kAxisHeld = 12000;  // of 32,767: past this a half axis counts as pressed
}

CControls::CControls(const std::vector<SBinding>& bindings) {
  // A machine without controllers, or without the right to read them, still has its keyboard.
  SDL_InitSubSystem(SDL_INIT_GAMECONTROLLER);
  for (const SBinding& binding : bindings) wires_.push_back(MakeWire(binding));
}

CControls::~CControls() {
  for (SDL_GameController* pad : pads_) {
    if (pad != nullptr) SDL_GameControllerClose(pad);
  }
  SDL_QuitSubSystem(SDL_INIT_GAMECONTROLLER);
}

CControls::SWire CControls::MakeWire(const SBinding& binding) {
  SWire wire{binding.player, binding.padBit, binding.systemBit};
  if (binding.key != nullptr) wire.key = SDL_GetScancodeFromName(binding.key);
  if (binding.pad == nullptr) return wire;
  wire.padIndex = binding.padIndex;
  const bool bSigned = binding.pad[0] == '-' || binding.pad[0] == '+';
  wire.bNegativeAxis = binding.pad[0] == '-';
  const char* name = binding.pad + (bSigned ? 1 : 0);
  wire.axis = SDL_GameControllerGetAxisFromString(name);
  wire.button = SDL_GameControllerGetButtonFromString(name);
  return wire;
}

void CControls::HandleEvent(const SDL_Event& event) {
  if (event.type == SDL_CONTROLLERDEVICEADDED) Plug(event.cdevice.which);
  if (event.type == SDL_CONTROLLERDEVICEREMOVED) Unplug(event.cdevice.which);
}

void CControls::Plug(i32 deviceIndex) {
  const auto place = std::ranges::find(pads_, nullptr);
  if (place != pads_.end()) *place = SDL_GameControllerOpen(deviceIndex);
}

void CControls::Unplug(SDL_JoystickID instance) {
  for (SDL_GameController*& pad : pads_) {
    if (pad == nullptr) continue;
    if (SDL_JoystickInstanceID(SDL_GameControllerGetJoystick(pad)) != instance) continue;
    SDL_GameControllerClose(pad);
    pad = nullptr;
  }
}

bool CControls::IsHeld(const SWire& wire, const u8* keys) const {
  if (wire.key != SDL_SCANCODE_UNKNOWN && keys[wire.key] != 0) return true;
  SDL_GameController* pad = pads_[wire.padIndex];
  if (pad == nullptr) return false;
  if (wire.axis != SDL_CONTROLLER_AXIS_INVALID) {
    const i16 value = SDL_GameControllerGetAxis(pad, wire.axis);
    return wire.bNegativeAxis ? value <= -kAxisHeld : value >= kAxisHeld;
  }
  return wire.button != SDL_CONTROLLER_BUTTON_INVALID &&
         SDL_GameControllerGetButton(pad, wire.button) != 0;
}

void CControls::Read(std::array<SInputRecord, kHostPlayers>& records) const {
  const u8* keys = SDL_GetKeyboardState(nullptr);
  records = {};
  for (const SWire& wire : wires_) {
    if (!IsHeld(wire, keys)) continue;
    records[wire.player].padBits |= wire.padBit;
    records[wire.player].systemBits |= wire.systemBit;
  }
}

}  // namespace vx
