#include "host/ControlNames.h"

#include <algorithm>
#include <bit>
#include <span>

#include "host/Text.h"

namespace vx {

namespace {

constexpr u32 kFirstPlayerSystemBit = 0x200;

struct SBitName {
  u32 bit;
  const char* name;
};

// clang-format off
constexpr SBitName kPadNames[] = {
  { 0x080, "UP"     },
  { 0x100, "DOWN"   },
  { 0x020, "LEFT"   },
  { 0x040, "RIGHT"  },
  { 0x001, "B1"     },  // upper row of buttons
  { 0x200, "B2"     },
  { 0x400, "B3"     },
  { 0x002, "B4"     },  // lower row
  { 0x004, "B5"     },
  { 0x800, "B6"     },
  { 0x008, "START"  },
  { 0x010, "SELECT" },
};
constexpr SBitName kSystemNames[] = {
  { 0x001, "COIN1"    },
  { 0x010, "COIN2"    },
  { 0x100, "COIN3"    },
  { 0x020, "COIN4"    },
  { 0x002, "TEST"     },
  { 0x004, "SERVICE"  },
  { 0x008, "TILT"     },
  { 0x040, "VOLUME-"  },
  { 0x080, "VOLUME+"  },
};
constexpr SBitName kHostNames[] = {
  { kHostPause,        "PAUSE"      },
  { kHostStep,         "STEP"       },
  { kHostFastForward,  "FAST"       },
  { kHostRewind,       "REWIND"     },
  { kHostSaveState,    "SAVE"       },
  { kHostLoadState,    "LOAD"       },
  { kHostPreviousSlot, "SLOT-"      },
  { kHostNextSlot,     "SLOT+"      },
  { kHostUndoLoad,     "UNDOLOAD"   },
  { kHostUndoSave,     "UNDOSAVE"   },
  { kHostListStates,   "STATES"     },
  { kHostScreenshot,   "SCREENSHOT" },
  { kHostReset,        "RESET"      },
  { kHostMute,         "MUTE"       },
  { kHostQuit,         "QUIT"       },
};
// clang-format on

// A bit that has no name of its own is called by its number.
std::string NameOf(std::span<const SBitName> names, u32 bit, const char* otherwise) {
  const auto row = std::ranges::find(names, bit, &SBitName::bit);
  if (row != names.end()) return row->name;
  return Format("%s%d", otherwise, std::countr_zero(bit));
}

// Puts the named bits in the order of their names, the rest behind them.
void Order(std::vector<u32>& bits, std::span<const SBitName> names) {
  std::ranges::stable_sort(bits, {}, [&](u32 bit) {
    return std::ranges::find(names, bit, &SBitName::bit) - names.begin();
  });
}

void AddOnce(std::vector<u32>& bits, u32 bit) {
  if (bit != 0 && std::ranges::find(bits, bit) == bits.end()) bits.push_back(bit);
}

}  // namespace

std::vector<SControl> ListControls(const SInputBinding (&table)[kInputBindingCount]) {
  std::vector<u32> padBits;
  std::vector<u32> playerSystemBits;
  std::vector<u32> systemBits;
  for (const SInputBinding& row : table) {
    AddOnce(padBits, row.padBit);
    AddOnce(row.systemBit < kFirstPlayerSystemBit ? systemBits : playerSystemBits, row.systemBit);
  }
  Order(padBits, kPadNames);
  Order(systemBits, kSystemNames);

  std::vector<SControl> controls;
  for (u32 player = 0; player < kHostPlayers; ++player) {
    for (const u32 bit : padBits) controls.push_back({EControlKind::Pad, player, bit});
    for (const u32 bit : playerSystemBits) controls.push_back({EControlKind::System, player, bit});
  }
  for (const u32 bit : systemBits) controls.push_back({EControlKind::System, 0, bit});
  for (const SBitName& row : kHostNames) controls.push_back({EControlKind::Host, 0, row.bit});
  return controls;
}

std::string ControlName(const SControl& control) {
  const std::string player = Format("P%u:", control.player + 1);
  switch (control.kind) {
    case EControlKind::Pad:
      return player + NameOf(kPadNames, control.bit, "PAD");
    case EControlKind::System:
      if (control.bit >= kFirstPlayerSystemBit) return player + NameOf({}, control.bit, "EXTRA");
      return "SYS:" + NameOf(kSystemNames, control.bit, "SYSTEM");
    case EControlKind::Host:
      break;
  }
  return "HOST:" + NameOf(kHostNames, control.bit, "ACTION");
}

std::optional<SControl> FindControl(std::string_view name, const std::vector<SControl>& controls) {
  const auto found = std::ranges::find_if(
      controls, [&](const SControl& control) { return ControlName(control) == name; });
  if (found == controls.end()) return std::nullopt;
  return *found;
}

}  // namespace vx
