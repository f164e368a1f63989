#include "sound/ADSPDecode.h"

#include <iterator>
#include <utility>

#include "sound/ADSPAlu.h"
#include "sound/ADSPForms.h"
#include "sound/ADSPMac.h"
#include "sound/ADSPShifter.h"

namespace vx {

namespace {

// --- Forms around the shifter, whose operation lies in bits 11 to 14 ---------------------------

u32 ExecuteShift(CADSP& p, u32 word, u32 astat) {
  return kShiftBySe[Bits(word, kShiftCodeBit, 4)](p, word, astat);
}
u32 ShiftImmediate(CADSP& p, u32 word, u32 astat) {
  return kShiftByImmediate[Bits(word, kShiftCodeBit, 4)](p, word, astat);
}

// The source is read after the shift.
u32 ShiftWithMove(CADSP& p, u32 word, u32 astat) {
  astat = ExecuteShift(p, word, astat);
  HighDataRegister(p, word) = LowDataRegister(p, word);
  return astat;
}

template <EGenerator generator>
u32 ShiftWithData(CADSP& p, u32 word, u32 astat) {
  const bool bStore = Bits(word, 15, 1) != 0;
  return bStore ? WithDataWrite<ExecuteShift, generator>(p, word, astat)
                : WithDataRead<ExecuteShift, generator>(p, word, astat);
}

// --- Rows --------------------------------------------------------------------------------------

// Handlers of a row by bits 13 to 16 of the word.
using HandlerSet = std::array<AdspHandler, 16>;

// A row whose handler does not depend on those bits.
constexpr HandlerSet Any(AdspHandler handler) {
  HandlerSet set{};
  set.fill(handler);
  return set;
}

// A row of one form around each of a unit's operations.
template <const UnitTable& unit, typename TMaker>
constexpr HandlerSet Each(TMaker maker) {
  return [&]<size_t... code>(std::index_sequence<code...>) {
    return HandlerSet{maker.template operator()<unit[code]>()...};
  }
  (std::make_index_sequence<16>());
}

constexpr auto kConditional = []<UnitOp op> { return AdspHandler{Conditional<op>}; };
constexpr auto kWithMove = []<UnitOp op> { return AdspHandler{WithMove<op>}; };
constexpr auto kProgramRead = []<UnitOp op> { return AdspHandler{WithProgramRead<op>}; };
constexpr auto kProgramWrite = []<UnitOp op> { return AdspHandler{WithProgramWrite<op>}; };
template <EGenerator g>
constexpr auto kDataRead = []<UnitOp op> { return AdspHandler{WithDataRead<op, g>}; };
template <EGenerator g>
constexpr auto kDataWrite = []<UnitOp op> { return AdspHandler{WithDataWrite<op, g>}; };

constexpr EGenerator kFirst = EGenerator::First;
constexpr EGenerator kSecond = EGenerator::Second;

struct SDecodeRow {
  u32 first, last;  // top bytes
  HandlerSet handlers;
};

// clang-format off
constexpr SDecodeRow kRows[] = {
  // bytes       operation
  { 0x00, 0x00, Any(DoNothing)                        },
  { 0x01, 0x01, Any(Synced<Planted>)                          },
  { 0x02, 0x04, Any(Synced<ReportMissing>)                    },  // IDLE, flags, stack control
  { 0x05, 0x05, Any(SaturateMr)                       },
  { 0x06, 0x06, Any(DivideSign)                       },
  { 0x07, 0x07, Any(DivideStep)                       },
  { 0x08, 0x08, Any(Synced<ReportMissing>)                    },
  { 0x09, 0x09, Any(Apart<ModifyAddress>)                    },
  { 0x0A, 0x0A, Any(Return)                           },
  { 0x0B, 0x0B, Any(JumpIndirect)                     },
  { 0x0C, 0x0C, Any(Apart<ControlModes>)                     },
  { 0x0D, 0x0D, Any(Synced<MoveRegister>)                     },
  { 0x0E, 0x0E, Any(Conditional<ExecuteShift>)        },
  { 0x0F, 0x0F, Any(ShiftImmediate)                   },
  { 0x10, 0x10, Any(ShiftWithMove)                    },
  { 0x11, 0x11, Any(Synced<ReportMissing>)                    },  // shift with program memory
  { 0x12, 0x12, Any(ShiftWithData<kFirst>)            },
  { 0x13, 0x13, Any(ShiftWithData<kSecond>)           },
  { 0x14, 0x17, Any(Apart<DoUntil>)                          },
  { 0x18, 0x1B, Any(Jump)                             },
  { 0x1C, 0x1F, Any(Call)                             },
  { 0x20, 0x21, Each<kMacToMr>(kConditional)          },
  { 0x22, 0x23, Each<kAluToAr>(kConditional)          },
  { 0x24, 0x25, Each<kMacToMf>(kConditional)          },
  { 0x26, 0x27, Each<kAluToAf>(kConditional)          },
  { 0x28, 0x29, Each<kMacToMr>(kWithMove)             },
  { 0x2A, 0x2B, Each<kAluToAr>(kWithMove)             },
  { 0x2C, 0x2D, Each<kMacToMf>(kWithMove)             },
  { 0x2E, 0x2F, Each<kAluToAf>(kWithMove)             },
  { 0x30, 0x33, Any(Synced<ReportMissing>)                    },
  { 0x34, 0x37, Any(Apart<LoadGroupImmediate<1>>)            },
  { 0x38, 0x3B, Any(Apart<LoadGroupImmediate<2>>)            },
  { 0x3C, 0x3F, Any(Synced<LoadGroupImmediate<3>>)            },
  { 0x40, 0x4F, Any(Apart<LoadDataImmediate>)                },
  { 0x50, 0x51, Each<kMacToMr>(kProgramRead)          },
  { 0x52, 0x53, Each<kAluToAr>(kProgramRead)          },
  { 0x54, 0x55, Each<kMacToMf>(kProgramRead)          },
  { 0x56, 0x57, Each<kAluToAf>(kProgramRead)          },
  { 0x58, 0x59, Each<kMacToMr>(kProgramWrite)         },
  { 0x5A, 0x5F, Any(Synced<ReportMissing>)                    },  // other units with a program write
  { 0x60, 0x61, Each<kMacToMr>(kDataRead<kFirst>)     },
  { 0x62, 0x63, Each<kAluToAr>(kDataRead<kFirst>)     },
  { 0x64, 0x65, Each<kMacToMf>(kDataRead<kFirst>)     },
  { 0x66, 0x67, Each<kAluToAf>(kDataRead<kFirst>)     },
  { 0x68, 0x69, Each<kMacToMr>(kDataWrite<kFirst>)    },
  { 0x6A, 0x6B, Each<kAluToAr>(kDataWrite<kFirst>)    },
  { 0x6C, 0x6D, Each<kMacToMf>(kDataWrite<kFirst>)    },
  { 0x6E, 0x6F, Each<kAluToAf>(kDataWrite<kFirst>)    },
  { 0x70, 0x71, Each<kMacToMr>(kDataRead<kSecond>)    },
  { 0x72, 0x73, Each<kAluToAr>(kDataRead<kSecond>)    },
  { 0x74, 0x75, Each<kMacToMf>(kDataRead<kSecond>)    },
  { 0x76, 0x77, Each<kAluToAf>(kDataRead<kSecond>)    },
  { 0x78, 0x79, Each<kMacToMr>(kDataWrite<kSecond>)   },
  { 0x7A, 0x7B, Each<kAluToAr>(kDataWrite<kSecond>)   },
  { 0x7C, 0x7D, Each<kMacToMf>(kDataWrite<kSecond>)   },
  { 0x7E, 0x7F, Each<kAluToAf>(kDataWrite<kSecond>)   },
  { 0x80, 0x83, Any(Synced<LoadGroupFromData<0>>)             },
  { 0x84, 0x87, Any(Synced<LoadGroupFromData<1>>)             },
  { 0x88, 0x8B, Any(Synced<LoadGroupFromData<2>>)             },
  { 0x8C, 0x8F, Any(Synced<LoadGroupFromData<3>>)             },
  { 0x90, 0x93, Any(Synced<StoreGroupToData<0>>)              },
  { 0x94, 0x97, Any(Synced<StoreGroupToData<1>>)              },
  { 0x98, 0x9B, Any(Synced<StoreGroupToData<2>>)              },
  { 0x9C, 0x9F, Any(Synced<ReportMissing>)                    },
  { 0xA0, 0xAF, Any(StoreImmediate<kFirst>)           },
  { 0xB0, 0xBF, Any(StoreImmediate<kSecond>)          },
  { 0xC0, 0xFF, Any(Synced<ReportMissing>)                    },  // two data accesses at once
};
// clang-format on

constexpr bool RowsCoverAllBytesInOrder() {
  u32 next = 0;
  for (const SDecodeRow& row : kRows) {
    if (row.first != next || row.last < row.first) return false;
    next = row.last + 1;
  }
  return next == 0x100;
}
static_assert(RowsCoverAllBytesInOrder());

constexpr std::array<AdspHandler, kDispatchCount> BuildDispatch() {
  std::array<AdspHandler, kDispatchCount> table{};
  for (const SDecodeRow& row : kRows) {
    for (u32 i = row.first << 3; i < (row.last + 1) << 3; ++i) table[i] = row.handlers[i & 15];
  }
  return table;
}

}  // namespace

constinit const std::array<AdspHandler, kDispatchCount> kDispatch = BuildDispatch();

}  // namespace vx
