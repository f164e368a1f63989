// The sound processor's registers, stacks and memories. Registers are set as plain fields: nothing
// is pushed, no bank is exchanged, no interrupt is looked at. Data addresses of devices do reach
// the devices: reading the latch takes the command.
#include <cstddef>
#include <cstring>
#include <utility>

#include "machine/VXMachine.h"
#include "script/ScriptActions.h"
#include "sound/ADSPMemory.h"

namespace vx::script {

namespace {

// --- Registers ---------------------------------------------------------------------------------

enum class EField : u8 {
  Word,        // u32 of the state
  BankHalf,    // u16 of a register bank
  BankSigned,  // i16 of a register bank, sign-extended when read
};

struct SRegister {
  EField field;
  size_t offset;  // in the state or in the bank
};

// clang-format off
constexpr SRegister kRegisterTable[32] = {
  { EField::Word,       offsetof(SADSPState, pc)            },  //  0  PC
  { EField::Word,       offsetof(SADSPState, cntr)          },  //  1  CNTR
  { EField::Word,       offsetof(SADSPState, px)            },  //  2  PX
  { EField::Word,       offsetof(SADSPState, px)            },  //  3  PX
  { EField::Word,       offsetof(SADSPState, sstat)         },  //  4  SSTAT
  { EField::Word,       offsetof(SADSPState, mstat)         },  //  5  MSTAT
  { EField::Word,       offsetof(SADSPState, icntl)         },  //  6  ICNTL
  { EField::Word,       offsetof(SADSPState, imask)         },  //  7  IMASK
  { EField::Word,       offsetof(SADSPState, reserved13592) },  //  8
  { EField::BankHalf,   offsetof(SADSPBank, ax)             },  //  9  AX0
  { EField::BankHalf,   offsetof(SADSPBank, ax) + 2         },  // 10  AX1
  { EField::BankHalf,   offsetof(SADSPBank, ay)             },  // 11  AY0
  { EField::BankHalf,   offsetof(SADSPBank, ay) + 2         },  // 12  AY1
  { EField::BankHalf,   offsetof(SADSPBank, ar)             },  // 13  AR
  { EField::BankHalf,   offsetof(SADSPBank, af)             },  // 14  AF
  { EField::BankHalf,   offsetof(SADSPBank, mx)             },  // 15  MX0
  { EField::BankHalf,   offsetof(SADSPBank, mx) + 2         },  // 16  MX1
  { EField::BankHalf,   offsetof(SADSPBank, my)             },  // 17  MY0
  { EField::BankHalf,   offsetof(SADSPBank, my) + 2         },  // 18  MY1
  { EField::BankHalf,   offsetof(SADSPBank, mr)             },  // 19  MR0
  { EField::BankHalf,   offsetof(SADSPBank, mr) + 2         },  // 20  MR1
  { EField::BankHalf,   offsetof(SADSPBank, mr) + 4         },  // 21  MR2
  { EField::BankHalf,   offsetof(SADSPBank, mf)             },  // 22  MF
  { EField::BankHalf,   offsetof(SADSPBank, sr)             },  // 23  SR0
  { EField::BankHalf,   offsetof(SADSPBank, sr) + 2         },  // 24  SR1
  { EField::BankHalf,   offsetof(SADSPBank, si)             },  // 25  SI
  { EField::BankSigned, offsetof(SADSPBank, se)             },  // 26  SE
  { EField::BankSigned, offsetof(SADSPBank, sb)             },  // 27  SB
  { EField::Word,       offsetof(SADSPState, pcDepth)       },  // 28  depth of the PC stack
  { EField::Word,       offsetof(SADSPState, loopDepth)     },  // 29  of the loop stack
  { EField::Word,       offsetof(SADSPState, counterDepth)  },  // 30  of the counter stack
  { EField::Word,       offsetof(SADSPState, statusDepth)   },  // 31  of the status stack
};
// clang-format on

// Where a register lies; bank 0 is the active one.
u8* PlaceOf(SADSPState& s, const SRegister& row, u32 bank) {
  if (row.field == EField::Word) return reinterpret_cast<u8*>(&s) + row.offset;
  return reinterpret_cast<u8*>(bank == 0 ? &s.bank : &s.alternateBank) + row.offset;
}

// --- Stacks ------------------------------------------------------------------------------------

enum EStack : u32 { kStackPc, kStackLoop, kStackCounter, kStackStatus };

u32* WordStack(SADSPState& s, u32 stack) {
  switch (stack) {
    case kStackPc:
      return s.pcStack;
    case kStackLoop:
      return s.loopStack;
    default:
      return s.counterStack;
  }
}

bool IsOnStack(const SScriptCall& call) {
  const u32 stack = call.words[0];
  if (stack >= call.bound) return false;
  return call.words[1] < (stack == kStackPc ? kPcStackWords : kSmallStackWords);
}

// --- Address generators ------------------------------------------------------------------------

enum EKind : u32 { kKindIndex, kKindLength, kKindModify, kKindCount };

bool IsDag(const SScriptCall& call) {
  return call.words[0] < call.bound && call.words[1] < kKindCount;
}

// --- Memories ----------------------------------------------------------------------------------

constexpr u32 kProgramWordMask = 0xFFFFFF;

template <typename T>
void ReadWord(const SScriptCall& call, const T* memory) {
  const u32 address = call.words[0];
  call.Out(1, address < call.bound ? u32{memory[address]} : 0u);
}

template <typename T>
void WriteWord(const SScriptCall& call, T* memory, u32 mask) {
  const u32 address = call.words[0];
  if (address < call.bound) memory[address] = static_cast<T>(call.words[1] & mask);
}

}  // namespace

void GetDspReg(const SScriptCall& call) {
  if (call.words[0] >= call.bound) return;
  const SRegister& row = kRegisterTable[call.words[0]];
  const u8* const place = PlaceOf(call.m->sound.state, row, call.words[2]);
  u32 word = 0;
  u16 half = 0;
  switch (row.field) {
    case EField::Word:
      std::memcpy(&word, place, sizeof(word));
      break;
    case EField::BankHalf:
      std::memcpy(&half, place, sizeof(half));
      word = half;
      break;
    case EField::BankSigned:
      std::memcpy(&half, place, sizeof(half));
      word = static_cast<u32>(static_cast<i32>(static_cast<i16>(half)));
      break;
  }
  call.Out(1, word);
}

void SetDspReg(const SScriptCall& call) {
  if (call.words[0] >= call.bound) return;
  const SRegister& row = kRegisterTable[call.words[0]];
  const size_t bytes = row.field == EField::Word ? sizeof(u32) : sizeof(u16);
  std::memcpy(PlaceOf(call.m->sound.state, row, call.words[2]), &call.words[1], bytes);
}

void GetDspDag(const SScriptCall& call) {
  if (!IsDag(call)) return call.Out(2, 0u);
  const SADSPAddress& dag = call.m->sound.state.dag[call.words[0]];
  const u32 values[kKindCount] = {dag.i, dag.l, dag.m};
  call.Out(2, values[call.words[1]]);
}

void SetDspDag(const SScriptCall& call) {
  if (!IsDag(call)) return;
  CADSP& sound = call.m->sound;
  const u32 index = call.words[0];
  const u32 value = call.words[2];
  switch (call.words[1]) {
    case kKindIndex:
      return sound.WriteIndex(index, value);
    case kKindLength:
      return sound.WriteLength(index, value);
    default:
      return sound.WriteModify(index, value);
  }
}

void ReadDspData(const SScriptCall& call) {
  const u32 address = call.words[0];
  call.Out(1, address < call.bound ? u32{call.m->sound.ReadData(address)} : 0u);
}
void WriteDspData(const SScriptCall& call) {
  const u32 address = call.words[0];
  if (address < call.bound) call.m->sound.WriteData(address, static_cast<u16>(call.words[1]));
}
void ReadDspProgram(const SScriptCall& call) {
  call.Out(1, call.m->sound.ReadProgram(call.words[0]));
}
void WriteDspProgram(const SScriptCall& call) {
  call.m->sound.WriteProgram(call.words[0], call.words[1] & kProgramWordMask);
}

void ReadDspBank0(const SScriptCall& call) { ReadWord(call, call.m->sound.state.internalRam); }
void ReadDspBank1(const SScriptCall& call) { ReadWord(call, call.m->sound.state.externalRam); }
void ReadDspInternal(const SScriptCall& call) { ReadWord(call, call.m->sound.state.dataRam); }
void WriteDspBank0(const SScriptCall& call) {
  WriteWord(call, call.m->sound.state.internalRam, kProgramWordMask);
}
void WriteDspBank1(const SScriptCall& call) {
  WriteWord(call, call.m->sound.state.externalRam, kProgramWordMask);
}
void WriteDspInternal(const SScriptCall& call) {
  WriteWord(call, call.m->sound.state.dataRam, 0xFFFF);
}

// The depth plays no part: all entries can be reached.
void GetDspStack(const SScriptCall& call) {
  if (!IsOnStack(call)) return call.Out(2, u64{0});
  SADSPState& s = call.m->sound.state;
  const auto [stack, index] = std::pair{call.words[0], call.words[1]};
  call.Out(2, stack == kStackStatus ? s.statusStack[index] : u64{WordStack(s, stack)[index]});
}

void SetDspStack(const SScriptCall& call) {
  if (!IsOnStack(call)) return;
  SADSPState& s = call.m->sound.state;
  const auto [stack, index] = std::pair{call.words[0], call.words[1]};
  const u64 value = call.In<u64>(2);
  if (stack == kStackStatus) {
    s.statusStack[index] = value;
  } else {
    WordStack(s, stack)[index] = static_cast<u32>(value);
  }
}

}  // namespace vx::script
