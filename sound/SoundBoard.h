// CSoundBoard: the board around the sound processor. It holds the command latch from the main
// processor, the reply latch, the ROM bank and the serial port's registers, and boots the processor
// from ROM.
#pragma once

#include "base/Types.h"
#include "machine/EventQueue.h"

namespace vx {

class CADSP;

// saved: the link block, as a format.
struct SSoundLinkBlock {
  u32 boardFlags = 0;
  u16 commandLatch = 0;
  u16 replyLatch = 0;
  u32 bankRegister = 0;
  u32 bankOffset = 0;  // bytes into the sound ROM
  u32 autobufferIndex = 0;
  u32 autobufferBase = 0;
  u32 autobufferLength = 0;
  u32 autobufferStep = 0;
  u16 controlRegs[32] = {};
  f64 samplePeriod = 0.0;  // microseconds; 0 until the guest sets the serial port up
  f64 tickPeriod = 0.0;
  u8 soundResetHeld = 0;
  u8 padding113[7] = {};
};
static_assert(sizeof(SSoundLinkBlock) == 120);
static_assert(offsetof(SSoundLinkBlock, controlRegs) == 32);
static_assert(offsetof(SSoundLinkBlock, samplePeriod) == 96);
static_assert(offsetof(SSoundLinkBlock, soundResetHeld) == 112);

enum EBoardFlag : u32 {
  kReplyTaken = 1u << 10,
  kCommandTaken = 1u << 11,
  kBoardFlagsAtReset = kReplyTaken | kCommandTaken,
};

class CSoundBoard {
 public:
  // ROM banks in the guest memory image that the board reads.
  struct SRom {
    const u8* base = nullptr;
    u32 count = 0;
    u32 bytes = 0;  // of each ROM
    u32 bankMask = 0;
  };

  // Registers the autobuffer tick and the interrupt drop with the queue, and clears itself.
  void Construct(CADSP* processor, const SRom& rom, CEventQueue* queue);
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

  // saved
  SSoundLinkBlock link;

  // derived
  u16 sampleBuffer[4096] = {};
  u32 sampleCount = 0;
  u8 bHasSamples = 0;  // instances only

 private:
  static void OnAutobufferTick(void* context, u64 userData, f64 time);
  static void OnIrqDrop(void* context, u64 userData, f64 time);

  // wiring
  CADSP* processor_ = nullptr;
  SRom rom_;
  u32 autobufferTickId_ = CEventQueue::kNoId;
  u32 irqDropId_ = CEventQueue::kNoId;
  u32 mainTickId_ = CEventQueue::kNoId;  // instances only
  CEventQueue* queue_ = nullptr;
};

}  // namespace vx
