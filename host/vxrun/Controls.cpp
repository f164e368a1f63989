#include "host/vxrun/Controls.h"

#include <algorithm>

namespace vx {

namespace {

constexpr i16 kAxisHeld = 12000;  // of 32,767: past this a half axis counts as pressed

struct SPart {
  SDL_GameControllerButton button;
  SDL_GameControllerAxis axis;
  bool bNegativeAxis;
};

SPart FindPart(const std::string& name) {
  const bool bSigned = name.starts_with('-') || name.starts_with('+');
  const char* plain = name.c_str() + (bSigned ? 1 : 0);
  SPart part{SDL_CONTROLLER_BUTTON_INVALID, SDL_GameControllerGetAxisFromString(plain),
             name.starts_with('-')};
  if (!bSigned) part.button = SDL_GameControllerGetButtonFromString(plain);
  return part;
}

SDL_JoystickID InstanceOf(SDL_GameController* pad) {
  return SDL_JoystickInstanceID(SDL_GameControllerGetJoystick(pad));
}

}  // namespace

bool IsKnownSource(const SSource& source) {
  if (source.pad == 0) return SDL_GetScancodeFromName(source.name.c_str()) != SDL_SCANCODE_UNKNOWN;
  const SPart part = FindPart(source.name);
  return part.button != SDL_CONTROLLER_BUTTON_INVALID || part.axis != SDL_CONTROLLER_AXIS_INVALID;
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
  SWire wire{binding.control};
  if (binding.source.pad == 0) {
    wire.key = SDL_GetScancodeFromName(binding.source.name.c_str());
    return wire;
  }
  const SPart part = FindPart(binding.source.name);
  wire.place = binding.source.pad - 1;
  wire.button = part.button;
  wire.axis = part.axis;
  wire.bNegativeAxis = part.bNegativeAxis;
  return wire;
}

void CControls::HandleEvent(const SDL_Event& event) {
  switch (event.type) {
    case SDL_KEYDOWN:
    case SDL_KEYUP:
      return TakeKey(event.key);
    case SDL_CONTROLLERDEVICEADDED:
      return Plug(event.cdevice.which);
    case SDL_CONTROLLERDEVICEREMOVED:
      return Unplug(event.cdevice.which);
    default:
      return;
  }
}

void CControls::TakeKey(const SDL_KeyboardEvent& event) {
  const u32 scancode = event.keysym.scancode;
  if (scancode >= keys_.size() || event.repeat != 0) return;
  keys_[scancode].bHeld = event.type == SDL_KEYDOWN;
  if (event.type == SDL_KEYDOWN) keys_[scancode].bTapped = true;
}

bool CControls::IsPlugged(SDL_JoystickID instance) const {
  return std::ranges::any_of(pads_, [&](SDL_GameController* pad) {
    return pad != nullptr && InstanceOf(pad) == instance;
  });
}

void CControls::Plug(i32 deviceIndex) {
  const auto place = std::ranges::find(pads_, nullptr);
  if (place == pads_.end() || IsPlugged(SDL_JoystickGetDeviceInstanceID(deviceIndex))) return;
  *place = SDL_GameControllerOpen(deviceIndex);
}

void CControls::Unplug(SDL_JoystickID instance) {
  for (SDL_GameController*& pad : pads_) {
    if (pad == nullptr || InstanceOf(pad) != instance) continue;
    SDL_GameControllerClose(pad);
    pad = nullptr;
  }
  for (i32 i = 0; i < SDL_NumJoysticks(); ++i) {
    if (SDL_IsGameController(i) == SDL_TRUE) Plug(i);
  }
}

bool CControls::IsHeld(const SWire& wire) const {
  if (wire.key != SDL_SCANCODE_UNKNOWN) return keys_[wire.key].bHeld || keys_[wire.key].bTapped;
  SDL_GameController* pad = pads_[wire.place];
  if (pad == nullptr) return false;
  if (wire.axis != SDL_CONTROLLER_AXIS_INVALID) {
    const i16 value = SDL_GameControllerGetAxis(pad, wire.axis);
    return wire.bNegativeAxis ? value <= -kAxisHeld : value >= kAxisHeld;
  }
  return wire.button != SDL_CONTROLLER_BUTTON_INVALID &&
         SDL_GameControllerGetButton(pad, wire.button) != 0;
}

void CControls::Poll() {
  const u32 before = hostHeld_;
  hostHeld_ = 0;
  for (SWire& wire : wires_) {
    wire.bHeld = IsHeld(wire);
    if (wire.bHeld && wire.control.kind == EControlKind::Host) hostHeld_ |= wire.control.bit;
  }
  hostPressed_ = hostHeld_ & ~before;
  for (SKey& key : keys_) key.bTapped = false;
}

void CControls::Read(std::array<SInputRecord, kHostPlayers>& records) const {
  records = {};
  for (const SWire& wire : wires_) {
    if (!wire.bHeld) continue;
    SInputRecord& record = records[wire.control.player];
    if (wire.control.kind == EControlKind::Pad) record.padBits |= wire.control.bit;
    if (wire.control.kind == EControlKind::System) record.systemBits |= wire.control.bit;
  }
}

}  // namespace vx
