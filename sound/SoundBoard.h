// CSoundBoard: the board around the sound processor. It holds the command latch from the main
// processor, the reply latch, the ROM bank and the serial port's registers, boots the processor
// from ROM, and carries samples out of its memory.
//
// The serial port shifts no bits: what the guest programs comes down to a period and a range of
// data memory. A tick of the timeline copies half of that range into the sample buffer, and the
// transmit interrupt comes when all of it has been sent. Receiving, the second port and timers do
// not exist.
#pragma once

#include "base/Types.h"
#include "machine/EventQueue.h"

namespace vx {

class CADSP;

// saved: the link block, as a format.
struct SSoundLinkBlock {
  u32 boardFlags = 0;
  u16 commandLatch = 0;
  u16 replyLatch = 0;  // read by nobody
  u32 bankRegister = 0;
  u32 bankOffset = 0;       // bytes into the sound ROM
  u32 autobufferIndex = 0;  // address register that walks the buffer
  u32 autobufferBase = 0;
  u32 autobufferLength = 0;  // words
  u32 autobufferStep = 0;    // per word, as a signed number's pattern
  u16 controlRegs[32] = {};
  f64 samplePeriod = 0.0;  // microseconds; 0 until the guest sets the serial port up
  f64 tickPeriod = 0.0;    // microseconds between two ticks
  u8 soundResetHeld = 0;
  u8 padding113[7] = {};
};
static_assert(sizeof(SSoundLinkBlock) == 120);
static_assert(offsetof(SSoundLinkBlock, bankRegister) == 8);
static_assert(offsetof(SSoundLinkBlock, autobufferIndex) == 16);
static_assert(offsetof(SSoundLinkBlock, autobufferBase) == 20);
static_assert(offsetof(SSoundLinkBlock, autobufferLength) == 24);
static_assert(offsetof(SSoundLinkBlock, autobufferStep) == 28);
static_assert(offsetof(SSoundLinkBlock, controlRegs) == 32);
static_assert(offsetof(SSoundLinkBlock, samplePeriod) == 96);
static_assert(offsetof(SSoundLinkBlock, tickPeriod) == 104);
static_assert(offsetof(SSoundLinkBlock, soundResetHeld) == 112);

enum EBoardFlag : u32 {
  kReplyTaken = 1u << 10,
  kCommandTaken = 1u << 11,
  kBoardFlagsAtReset = kReplyTaken | kCommandTaken,
};

// --- Data addresses of the board's devices -----------------------------------------------------

inline constexpr u32 kBankSelect = 0x3000;   // write
inline constexpr u32 kLatches = 0x3400;      // read the command, write the reply
inline constexpr u32 kDeviceWords = 0x400;   // that each of the two answers at
inline constexpr u32 kControlRegs = 0x3FE0;  // write; nothing reads them back
inline constexpr u32 kControlRegCount = 32;

// Places in controlRegs of those that are looked at, and their bits.
inline constexpr u32 kAutobufferControl = 0x3FEF - kControlRegs;
inline constexpr u32 kSerialClockDivide = 0x3FF1 - kControlRegs;
inline constexpr u32 kSerialControl = 0x3FF2 - kControlRegs;
inline constexpr u32 kSystemControl = 0x3FFF - kControlRegs;
inline constexpr u32 kTransmitEnable = 1u << 1;        // AutobufferControl
inline constexpr u32 kInternalSerialClock = 1u << 14;  // SerialControl
inline constexpr u32 kBootForce = 1u << 9;             // SystemControl
inline constexpr u32 kSerialPortEnable = 1u << 11;     // SystemControl

inline constexpr f64 kExternalSamplePeriodUs = 32.0;
inline constexpr f64 kDefaultSampleRateHz = 31250.0;
inline constexpr u32 kSampleBufferWords = 4096;
// Bytes behind the ROM pointer that can be read: the ROMs and the window behind them.
inline constexpr u32 kRomImageBytes = 0x500000;

class CSoundBoard {
 public:
  // ROM banks in the guest memory image that the board reads; `base` has kRomImageBytes.
  struct SRom {
    const u8* base = nullptr;
    u32 count = 0;
    u32 bytes = 0;  // of each ROM
    u32 bankMask = 0;
  };

  // Registers the autobuffer tick and the interrupt drop with the queue, and clears itself.
  void Construct(CADSP* processor, const SRom& rom, CEventQueue* queue);
  // Cancels and frees the events, the last registered first.
  void Unregister();
  // Puts the board's handlers into the processor's tables.
  void PlaceHandlers();
  // Latches, bank, serial port and samples to their reset values.
  void BoardReset();
  // Loads the boot block at the bank offset into program RAM and announces the end of the boot.
  void BootLoad();
  // The reset register with its bit clear: resets once until it is released.
  void SoundReset();
  void ReleaseReset() { link.soundResetHeld = 0; }

  // Hands a command to the sound processor and ends the main processor's slice, so that the sound
  // processor catches up before the main processor goes on.
  void WriteCommand(u16 value);
  bool IsCommandTaken() const { return (link.boardFlags & kCommandTaken) != 0; }

  // Starts the transfer that the control registers describe, or stops it (Autobuffer.cpp).
  void ConfigureAutobuffer();
  bool IsTransferEnabled() const;
  // Schedules an instance's tick in step with the main board, after its state has been copied.
  void ResumeTransfer();

  // A byte of the data window. The bank is not checked, only kept inside the image.
  u8 RomByte(u32 offset) const {
    constexpr u32 kLastBank = kRomImageBytes - 0x1000;
    const u32 bank = link.bankOffset < kLastBank ? link.bankOffset : kLastBank;
    return rom_.base[bank + offset];
  }
  const SRom& Rom() const { return rom_; }

  // What the host is told, in hertz.
  i64 SampleRate() const;
  // The exact rate, from which blocks are sized.
  f64 ExactSampleRate() const;

  // Makes this an instance's board, whose ticks follow those of the main board.
  void FollowTick(u32 mainTickId) { mainTickId_ = mainTickId; }
  u32 TickId() const { return autobufferTickId_; }

  // saved
  SSoundLinkBlock link;

  // derived
  u16 sampleBuffer[kSampleBufferWords] = {};  // this frame's samples
  u32 sampleCount = 0;
  u8 bHasSamples = 0;  // instances only: a tick has run

 private:
  static void OnAutobufferTick(void* context, u64 userData, f64 time);
  static void OnIrqDrop(void* context, u64 userData, f64 time);
  static void OnBankSelect(CSoundBoard* board, u32 address, u16 value);
  static u16 OnCommandRead(CSoundBoard* board, u32 address);
  static void OnReplyWrite(CSoundBoard* board, u32 address, u16 value);
  static void OnControlWrite(CSoundBoard* board, u32 address, u16 value);

  bool IsInstance() const { return mainTickId_ != CEventQueue::kNoId; }
  const SEvent* PendingMainTick() const;
  void Tick(f64 time);
  void TransmitHalf(u32 count);
  void ScheduleTick(f64 time);

  // wiring
  CADSP* processor_ = nullptr;
  SRom rom_;
  u32 autobufferTickId_ = CEventQueue::kNoId;
  u32 irqDropId_ = CEventQueue::kNoId;
  u32 mainTickId_ = CEventQueue::kNoId;  // instances only
  CEventQueue* queue_ = nullptr;
};

}  // namespace vx
