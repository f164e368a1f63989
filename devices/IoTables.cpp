#include "devices/IoTables.h"

#include "machine/VXMachine.h"

namespace vx {

namespace {

// --- Registers by role -------------------------------------------------------------------------

enum class ERegister : u8 {
  None,
  InputPort0,
  InputPort1,
  BoardStatus,
  DipPort,
  BoardControl,
  SoundStrobe,
  SoundLatch,
  SoundReset,
};

struct SRegisterRow {
  u32 address;
  ERegister readA, writeA, readB, writeB;  // in register layouts A and B
};

// clang-format off
constexpr SRegisterRow kRegisters[] = {
  //  address     layout A: read          write                     layout B: read          write
  { 0x10000080, ERegister::InputPort0,  ERegister::BoardControl,  ERegister::BoardStatus, ERegister::SoundStrobe  },
  { 0x10000088, ERegister::InputPort1,  ERegister::SoundReset,    ERegister::DipPort,     ERegister::None         },
  { 0x10000090, ERegister::BoardStatus, ERegister::SoundStrobe,   ERegister::InputPort1,  ERegister::SoundReset   },
  { 0x10000098, ERegister::None,        ERegister::SoundLatch,    ERegister::InputPort0,  ERegister::BoardControl },
  { 0x100000A0, ERegister::DipPort,     ERegister::None,          ERegister::None,        ERegister::SoundLatch   },
};
// clang-format on

constexpr u32 kFirstBoardRow = 8, kEndBoardRow = 12;
constexpr u32 kFirstAtaRow = 16, kEndAtaRow = 32;

constexpr ERegister RegisterAt(u32 address, bool bLayoutB, bool bWrite) {
  for (const SRegisterRow& row : kRegisters) {
    if (row.address != (address & ~3u)) continue;
    if (bLayoutB) return bWrite ? row.writeB : row.readB;
    return bWrite ? row.writeA : row.readA;
  }
  return ERegister::None;
}

// --- Board registers ---------------------------------------------------------------------------

constexpr u64 kStatusSoundTaken = 1u << 1;
constexpr u32 kControlPage = 1u << 2;
constexpr u32 kStrobe = 1u << 1;
constexpr u8 kForwardMark = 'U';
constexpr u32 kForwardedStrobes = 4;

// Whether the sound processor has taken the last command. A guest that polls for it while a script
// steps the machine spends the rest of its slice, and so no host time.
u64 ReadBoardStatus(CVXMachine* m) {
  std::atomic_ref<u64> status(m->state.boardStatus);
  if (m->soundBoard.IsCommandTaken() || m->parent != nullptr) {
    status.fetch_or(kStatusSoundTaken, std::memory_order_relaxed);
  } else {
    status.fetch_and(~kStatusSoundTaken, std::memory_order_relaxed);
    if ((m->state.frameFlags & (kFrameLookAhead | kFrameTimedOut)) != 0) {
      m->cpu.cycles = m->cpu.budget;
    }
  }
  return status.load(std::memory_order_relaxed);
}

// Puts the bytes of a value into a 32-bit register, from the byte lane of the address on, highest
// byte first, so that of two bytes on one lane the lower-order one stays.
u32 MergeLanes(u32 old, u32 address, u64 value, u32 bytes) {
  for (u32 i = bytes; i-- > 0;) {
    const u32 shift = ((address & 3) + i) % 4 * 8;
    const u32 byte = static_cast<u32>(value >> 8 * i) & 0xFF;
    old = (old & ~(0xFFu << shift)) | byte << shift;
  }
  return old;
}

void WriteBoardControl(CVXMachine* m, u32 address, u64 value, u32 bytes) {
  u32& control = m->state.boardControl;
  if (((value ^ control) & kControlPage) != 0) {
    m->state.frameFlags ^= kRunFlagPageFlipped;
    if ((m->state.frameFlags & kFrameArmed) != 0) {
      m->state.frameFlags |= kFrameFlipWhileArmed;
      m->queue.NotifyEarliest();
    }
  }
  control = MergeLanes(control, address, value, bytes);
}

void WriteSoundStrobe(CVXMachine* m, u32 address, u64 value, u32 bytes) {
  const u32 old = m->state.soundStrobe;
  m->state.soundStrobe = MergeLanes(old, address, value, bytes);
  if ((~old & m->state.soundStrobe & kStrobe) == 0) return;

  m->soundBoard.WriteCommand(static_cast<u16>(m->state.soundLatch));
  m->state.frameFlags ^= kRunFlagSoundPhase;
  const bool bFirstOfPair = (m->state.frameFlags & kRunFlagSoundPhase) != 0;
  const u8 command = static_cast<u8>(m->state.soundLatch);
  if (bFirstOfPair && m->instances.IsActive() && command == kForwardMark) {
    m->state.soundForwardCount = kForwardedStrobes;
  }
  if (m->state.soundForwardCount == 0) return;
  --m->state.soundForwardCount;
  m->instances.Forward(command);
}

// Answers at even addresses alone. A cleared bit resets once, until a set bit releases the reset.
void WriteSoundReset(CVXMachine* m, u32 address, u64 value) {
  if ((address & 1) != 0) return;
  if ((value & 1) != 0) {
    m->soundBoard.ReleaseReset();
    return;
  }
  m->state.frameFlags &= ~u32{kRunFlagSoundPhase};
  m->soundBoard.SoundReset();
}

template <typename T, bool bLayoutB>
u64 ReadBoard(CVXMachine* m, u32 address) {
  const auto port = [](u64& word) {
    return std::atomic_ref<u64>(word).load(std::memory_order_relaxed);
  };
  switch (RegisterAt(address, bLayoutB, false)) {
    case ERegister::InputPort0:
      return static_cast<T>(port(m->state.inputPort0));
    case ERegister::InputPort1:
      return static_cast<T>(port(m->state.inputPort1));
    case ERegister::BoardStatus:
      return static_cast<T>(ReadBoardStatus(m));
    case ERegister::DipPort:
      return static_cast<T>(m->state.dipPort);
    default:
      return 0;
  }
}

template <typename T, bool bLayoutB>
void WriteBoard(CVXMachine* m, u32 address, u64 value) {
  switch (RegisterAt(address, bLayoutB, true)) {
    case ERegister::BoardControl:
      WriteBoardControl(m, address, value, sizeof(T));
      break;
    case ERegister::SoundStrobe:
      WriteSoundStrobe(m, address, value, sizeof(T));
      break;
    case ERegister::SoundLatch:
      m->state.soundLatch = MergeLanes(m->state.soundLatch, address, value, sizeof(T));
      break;
    case ERegister::SoundReset:
      WriteSoundReset(m, address, value);
      break;
    default:
      break;
  }
}

// --- ATA adapters ------------------------------------------------------------------------------

constexpr u32 kTaskFileBase = 0x10000100;
constexpr u32 kTaskFileEnd = 0x10000140;
constexpr u32 kAlternateStatus = 0x10000170;

template <typename T>
u64 ReadAta(CVXMachine* m, u32 address) {
  const u32 word = address & ~3u;
  u32 value = 0;
  if (word == kAlternateStatus) {
    value = m->ata.ReadAlternateStatus();
  } else if (word >= kTaskFileBase && word < kTaskFileEnd) {
    value = m->ata.ReadRegister((address - kTaskFileBase) >> 3);
  }
  return static_cast<T>(value);
}

template <typename T>
void WriteAta(CVXMachine* m, u32 address, u64 value) {
  const u32 word = address & ~3u;
  const u32 narrow = static_cast<T>(value);
  if (word == kAlternateStatus) {
    m->ata.WriteDeviceControl(narrow);
  } else if (word >= kTaskFileBase && word < kTaskFileEnd) {
    m->ata.WriteRegister((address - kTaskFileBase) >> 3, narrow);
  }
}

u64 ReadNothing(CVXMachine*, u32) { return 0; }
void WriteNothing(CVXMachine*, u32, u64) {}

template <bool bLayoutB>
void FillBoardRows(CVXMachine& m) {
  for (u32 row = kFirstBoardRow; row < kEndBoardRow; ++row) {
    m.ioRead[row] = {ReadBoard<u64, bLayoutB>, ReadBoard<u32, bLayoutB>, ReadBoard<u16, bLayoutB>,
                     ReadBoard<u8, bLayoutB>};
    m.ioWrite[row] = {WriteBoard<u64, bLayoutB>, WriteBoard<u32, bLayoutB>,
                      WriteBoard<u16, bLayoutB>, WriteBoard<u8, bLayoutB>};
  }
}

}  // namespace

void BuildIoTables(CVXMachine& m) {
  for (SIoReadRow& row : m.ioRead) row = {ReadNothing, ReadNothing, ReadNothing, ReadNothing};
  for (SIoWriteRow& row : m.ioWrite) row = {WriteNothing, WriteNothing, WriteNothing, WriteNothing};
  if (m.bIoLayoutB != 0) {
    FillBoardRows<true>(m);
  } else {
    FillBoardRows<false>(m);
  }
  for (u32 row = kFirstAtaRow; row < kEndAtaRow; ++row) {
    m.ioRead[row] = {ReadAta<u16>, ReadAta<u16>, ReadAta<u16>, ReadAta<u8>};
    m.ioWrite[row] = {WriteAta<u16>, WriteAta<u16>, WriteAta<u16>, WriteAta<u8>};
  }
}

}  // namespace vx
