// What the controls are called in files: "P1:START", "SYS:COIN1", "HOST:PAUSE".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

inline constexpr u32 kHostPlayers = 2;

// What a person can ask of the host itself; one bit each.
enum EHostAction : u32 {
  kHostPause = 0x01,
  kHostStep = 0x02,         // run one frame, then pause
  kHostFastForward = 0x04,  // while held
  kHostScreenshot = 0x08,
  kHostReset = 0x10,
  kHostMute = 0x20,
  kHostQuit = 0x40,
  kHostSaveState = 0x80,
  kHostLoadState = 0x100,
  kHostNextSlot = 0x200,
  kHostPreviousSlot = 0x400,
  kHostUndoLoad = 0x800,
  kHostUndoSave = 0x1000,
  kHostListStates = 0x2000,
  kHostRewind = 0x4000,  // while held
};
inline constexpr u32 kHostStateActions = kHostSaveState | kHostLoadState | kHostNextSlot |
                                         kHostPreviousSlot | kHostUndoLoad | kHostUndoSave |
                                         kHostListStates;

enum class EControlKind : u32 { Pad, System, Host };

// One control: a bit of a player's pad bits, of the system bits of a record, or a host action.
struct SControl {
  EControlKind kind;
  u32 player;  // record; 0 for system controls of the cabinet and for the host's
  u32 bit;

  bool operator==(const SControl&) const = default;
};

// All controls that there are: those of the component's table, for each player, then the cabinet's
// and the host's. System bits from 9 up belong to a player, the others to the cabinet.
std::vector<SControl> ListControls(const SInputBinding (&table)[kInputBindingCount]);

std::string ControlName(const SControl& control);

// The control of this name among those given.
std::optional<SControl> FindControl(std::string_view name, const std::vector<SControl>& controls);

}  // namespace vx
