#include "host/Bindings.h"

#include <string_view>

namespace vx {

namespace {

// clang-format off
constexpr std::array<SBindingCode, kBindingCodes> kCodes = {{
  // code  first player   second player   controller
  {  1,    "1",           "2",            "a"             },  // key: start
  {  2,    "A",           "R",            "b"             },
  {  3,    "S",           "T",            "x"             },
  {  4,    "D",           "Y",            "y"             },
  {  5,    "",            "",             "leftshoulder"  },
  {  6,    "",            "",             "rightshoulder" },
  {  7,    "",            "",             "dpup"          },
  {  8,    "",            "",             "dpdown"        },
  {  9,    "",            "",             "dpleft"        },
  { 10,    "",            "",             "dpright"       },
  { 11,    "",            "",             "start"         },
  { 12,    "",            "",             "back"          },
  { 13,    "",            "",             "leftstick"     },
  { 14,    "5",           "6",            "rightstick"    },  // key: coin
  { 15,    "Z",           "F",            "lefttrigger"   },
  { 16,    "X",           "G",            "righttrigger"  },
  { 17,    "C",           "H",            "+leftx"        },
  { 18,    "",            "",             "-leftx"        },
  { 19,    "",            "",             "+lefty"        },
  { 20,    "",            "",             "-lefty"        },
  { 21,    "",            "",             "+rightx"       },
  { 22,    "",            "",             "-rightx"       },
  { 23,    "",            "",             "+righty"       },
  { 24,    "",            "",             "-righty"       },
  { 25,    "",            "",             ""              },
  { 26,    "",            "",             ""              },
  { 27,    "",            "",             ""              },
  { 28,    "",            "",             ""              },
  { 29,    "",            "",             ""              },
  { 30,    "",            "",             ""              },
  { 31,    "",            "",             ""              },
  { 32,    "",            "",             ""              },
  { 33,    "Up",          "I",            ""              },
  { 34,    "Down",        "K",            ""              },
  { 35,    "Left",        "J",            ""              },
  { 36,    "Right",       "L",            ""              },
}};

// The component gives its system controls no codes; these are the host's own, by the bit.
struct SSystemControl {
  u32 systemBit;
  const char* key;
  const char* part;
  u32 pad;
};
constexpr SSystemControl kSystemControls[] = {
  // bit    key          controller      number
  { 0x001,  "5",         "back",         1 },  // coin, first player
  { 0x010,  "6",         "back",         2 },  // coin, second player
  { 0x100,  "7",         "",             0 },  // coin, third slot
  { 0x020,  "8",         "",             0 },  // coin, fourth slot
  { 0x002,  "F2",        "",             0 },  // test
  { 0x004,  "9",         "",             0 },  // service credit
  { 0x008,  "Backspace", "",             0 },  // tilt
  { 0x040,  "-",         "",             0 },  // volume down
  { 0x080,  "=",         "",             0 },  // volume up
};

// The host's own actions.
struct SHostKey {
  u32 action;
  const char* key;
};
constexpr SHostKey kHostKeys[] = {
  { kHostPause,        "P"      },
  { kHostPause,        "Pause"  },
  { kHostStep,         "N"      },
  { kHostFastForward,  "Tab"    },
  { kHostRewind,       "B"      },
  { kHostSaveState,    "F5"     },
  { kHostPreviousSlot, "F6"     },
  { kHostNextSlot,     "F7"     },
  { kHostLoadState,    "F8"     },
  { kHostUndoLoad,     "F9"     },
  { kHostUndoSave,     "F10"    },
  { kHostListStates,   "F11"    },
  { kHostScreenshot,   "F12"    },
  { kHostReset,        "F3"     },
  { kHostMute,         "M"      },
  { kHostQuit,         "Escape" },
};

// A stick moves like the digital pad: the half axis beside each of its directions.
struct SStickTwin {
  std::string_view pad;
  const char* halfAxis;
};
constexpr SStickTwin kStickTwins[] = {
  { "dpup",    "-lefty" },
  { "dpdown",  "+lefty" },
  { "dpleft",  "-leftx" },
  { "dpright", "+leftx" },
};
// clang-format on

constexpr bool CodesAreInOrder() {
  for (u32 i = 0; i < kBindingCodes; ++i) {
    if (kCodes[i].code != i + 1) return false;
  }
  return true;
}
static_assert(CodesAreInOrder());

bool IsNamed(const char* name) { return name[0] != '\0'; }

const SBindingCode* FindCode(u32 code) {
  return code >= 1 && code <= kBindingCodes ? &kCodes[code - 1] : nullptr;
}

void AddPlayerControl(std::vector<SBinding>& bindings, const SInputBinding& row) {
  for (u32 player = 0; player < kHostPlayers; ++player) {
    const SControl control{EControlKind::Pad, player, row.padBit};
    if (const SBindingCode* code = FindCode(row.bindingA)) {
      const char* key = player == 0 ? code->key1 : code->key2;
      if (IsNamed(key)) bindings.push_back({control, {0, key}});
    }
    const SBindingCode* code = FindCode(row.bindingB);
    if (code == nullptr || !IsNamed(code->pad)) continue;
    bindings.push_back({control, {player + 1, code->pad}});
    for (const SStickTwin& twin : kStickTwins) {
      if (twin.pad != code->pad) continue;
      bindings.push_back({control, {player + 1, twin.halfAxis}});
    }
  }
}

void AddSystemControl(std::vector<SBinding>& bindings, u32 systemBit) {
  for (const SSystemControl& row : kSystemControls) {
    if (row.systemBit != systemBit) continue;
    const SControl control{EControlKind::System, 0, systemBit};
    bindings.push_back({control, {0, row.key}});
    if (IsNamed(row.part)) bindings.push_back({control, {row.pad, row.part}});
  }
}

}  // namespace

const std::array<SBindingCode, kBindingCodes>& BindingCodes() { return kCodes; }

std::vector<SBinding> MakeBindings(const SInputBinding (&table)[kInputBindingCount]) {
  std::vector<SBinding> bindings;
  for (const SInputBinding& row : table) {
    if (row.padBit != 0) AddPlayerControl(bindings, row);
    if (row.systemBit != 0) AddSystemControl(bindings, row.systemBit);
  }
  for (const SHostKey& row : kHostKeys) {
    bindings.push_back({{EControlKind::Host, 0, row.action}, {0, row.key}});
  }
  return bindings;
}

}  // namespace vx
