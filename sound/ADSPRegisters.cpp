// The four register groups as moves, immediate loads and memory transfers reach them.
#include "sound/ADSPMemory.h"
#include "sound/ADSPUnits.h"

namespace vx {

namespace {

// --- Group 3: status, control and serial port --------------------------------------------------

using ReadRegister = u32 (*)(CADSP& p);
using WriteRegister = void (*)(CADSP& p, u32 value);

constexpr u32 SignExtend(u32 value, u32 bits) {
  return static_cast<u32>(static_cast<i32>(value << (32 - bits)) >> (32 - bits));
}

// Forces and clears latched interrupts. The register's five bits stand for pending bits 0, 1, 3, 4
// and 2, in this order. Nothing is taken before the next check.
void WriteIfc(CADSP& p, u32 value) {
  const auto pendingOf = [](u32 bits) {
    return (bits & 3) | (bits >> 2 & 3) << 3 | (bits >> 4 & 1) << 2;
  };
  p.state.irqLatched &= ~pendingOf(value >> 1 & 31);
  p.state.irqLatched |= pendingOf(value >> 7 & 31);
}

u32 ReadAstat(CADSP& p) { return p.state.astat; }
u32 ReadMstat(CADSP& p) { return p.state.mstat; }
u32 ReadSstat(CADSP& p) { return p.state.sstat; }
u32 ReadImask(CADSP& p) { return p.state.imask; }
u32 ReadIcntl(CADSP& p) { return p.state.icntl; }
u32 ReadCntr(CADSP& p) { return p.state.cntr; }
u32 ReadSb(CADSP& p) { return static_cast<u32>(p.state.bank.sb); }
u32 ReadPx(CADSP& p) { return p.state.px; }

void WriteAstat(CADSP& p, u32 value) { p.state.astat = value & 0xFF; }
void WriteMstat(CADSP& p, u32 value) { p.WriteMstat(value & 0x7F); }
void WriteImask(CADSP& p, u32 value) {
  p.state.imask = value & 0x3F;
  p.CheckInterrupts();
}
void WriteIcntl(CADSP& p, u32 value) {
  p.state.icntl = value & 0x1F;
  p.CheckInterrupts();
}
void WriteCntr(CADSP& p, u32 value) { p.PushCounter(value); }
void WriteSb(CADSP& p, u32 value) {
  p.state.bank.sb = static_cast<i16>(SignExtend(value & 0x1F, 5));
}
void WritePx(CADSP& p, u32 value) { p.state.px = value & 0xFF; }
void IgnoreWrite(CADSP&, u32) {}
void WriteTx1(CADSP& p, u32) { p.board->ConfigureAutobuffer(); }
void WriteOwrCntr(CADSP& p, u32 value) { p.state.cntr = value & kAddressMask; }
void WritePcStack(CADSP& p, u32 value) { p.PushPc(value & kAddressMask); }

struct SControlRegister {
  ReadRegister read;    // null: tells the host and answers 0
  WriteRegister write;  // null: tells the host
};

// clang-format off
constexpr SControlRegister kControl[16] = {
  { ReadAstat, WriteAstat   },  //  0  ASTAT
  { ReadMstat, WriteMstat   },  //  1  MSTAT
  { ReadSstat, nullptr      },  //  2  SSTAT
  { ReadImask, WriteImask   },  //  3  IMASK
  { ReadIcntl, WriteIcntl   },  //  4  ICNTL
  { ReadCntr,  WriteCntr    },  //  5  CNTR
  { ReadSb,    WriteSb      },  //  6  SB
  { ReadPx,    WritePx      },  //  7  PX
  { nullptr,   nullptr      },  //  8  RX0
  { nullptr,   IgnoreWrite  },  //  9  TX0
  { nullptr,   nullptr      },  // 10  RX1
  { nullptr,   WriteTx1     },  // 11  TX1
  { nullptr,   WriteIfc     },  // 12  IFC
  { nullptr,   WriteOwrCntr },  // 13  OWRCNTR
  { nullptr,   nullptr      },  // 14
  { nullptr,   WritePcStack },  // 15  PC stack
};
// clang-format on

constexpr u32 kControlGroup = 3;

// --- Groups 1 and 2: address generators --------------------------------------------------------

enum EAddressField : u32 { kFieldI, kFieldM, kFieldL, kFieldMirror };  // bits 2 and 3 of the index

}  // namespace

void CADSP::WriteIndex(u32 dag, u32 value) {
  SADSPAddress& address = state.dag[dag];
  address.i = value & kAddressMask;
  address.base = address.i & address.mask;
}

void CADSP::WriteLength(u32 dag, u32 value) {
  SADSPAddress& address = state.dag[dag];
  address.l = value & kAddressMask;
  address.mask = CircularMask(address.l);
  address.base = address.i & address.mask;
}

void CADSP::WriteModify(u32 dag, u32 value) {
  state.dag[dag].m = SignExtend(value & kAddressMask, 14);
}

u32 CADSP::ReadGroup(u32 group, u32 index) {
  if (group == 0) return DataRegister(kDataRegisters[index]);
  if (group == kControlGroup) {
    if (kControl[index].read != nullptr) return kControl[index].read(*this);
    port->Log(ESoundLog::Warning, "ReadInternalReg unimplemented: %i\n", index, 0, 0);
    return 0;
  }
  const SADSPAddress& address = state.dag[(group - 1) * 4 + (index & 3)];
  switch (index >> 2) {
    case kFieldI:
      return address.i;
    case kFieldM:
      return address.m;
    default:
      return address.l;
  }
}

void CADSP::WriteGroup(u32 group, u32 index, u32 value) {
  if (group == 0) {
    DataRegister(kDataRegisters[index]) = static_cast<u16>(value);
    return;
  }
  if (group == kControlGroup) {
    if (kControl[index].write != nullptr) {
      kControl[index].write(*this, value);
    } else {
      port->Log(ESoundLog::Warning, "WriteInternalReg unimplemented: %i\n", index, 0, 0);
    }
    return;
  }
  const u32 dag = (group - 1) * 4 + (index & 3);
  switch (index >> 2) {
    case kFieldI:
      WriteIndex(dag, value);
      break;
    case kFieldM:
      WriteModify(dag, value);
      break;
    case kFieldL:
      WriteLength(dag, value);
      break;
    default:
      break;
  }
}

}  // namespace vx
