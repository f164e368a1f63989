#include "sound/SoundBoard.h"

#include "sound/ADSP.h"

namespace vx {

namespace {

constexpr f64 kBootDoneUs = 1000.0;
constexpr u32 kBankMask = 0x7FF;
constexpr u32 kWindowBytes = 4096;
constexpr u32 kWindowsPerRom = 128;

}  // namespace

// --- Construction and resets -------------------------------------------------------------------

void CSoundBoard::Construct(CADSP* processor, const SRom& rom, CEventQueue* queue) {
  processor_ = processor;
  rom_ = rom;
  queue_ = queue;
  autobufferTickId_ = queue->Register(OnAutobufferTick, this);
  irqDropId_ = queue->Register(OnIrqDrop, this);
  BoardReset();
}

void CSoundBoard::Unregister() {
  queue_->Unregister(irqDropId_);
  queue_->Unregister(autobufferTickId_);
}

void CSoundBoard::PlaceHandlers() {
  for (u32 i = 0; i < kDeviceWords; ++i) {
    processor_->writeTable[kBankSelect + i] = OnBankSelect;
    processor_->readTable[kLatches + i] = OnCommandRead;
    processor_->writeTable[kLatches + i] = OnReplyWrite;
  }
  for (u32 i = 0; i < kControlRegCount; ++i) {
    processor_->writeTable[kControlRegs + i] = OnControlWrite;
  }
}

void CSoundBoard::BoardReset() {
  link = SSoundLinkBlock{};
  link.boardFlags = kBoardFlagsAtReset;
  sampleCount = 0;
  queue_->Cancel(autobufferTickId_);
  queue_->Cancel(irqDropId_);
}

void CSoundBoard::BootLoad() {
  const u64 romBytes = u64{rom_.count} * rom_.bytes;
  // A word past the ROM's end reads as an empty socket.
  const auto byteAt = [&](u64 offset) -> u32 {
    const u64 at = link.bankOffset + offset;
    return at < romBytes ? rom_.base[at] : 0u;
  };
  u32* const program = processor_->state.internalRam;
  const u32 words = byteAt(3) * 8 + 8;
  static_assert(255 * 8 + 8 <= kAdspInternalWords + kAdspExternalWords);
  for (u32 i = 0; i < words; ++i) {
    const u32 word = byteAt(4 * i) << 16 | byteAt(4 * i + 1) << 8 | byteAt(4 * i + 2);
    // External RAM stands right behind internal RAM, and a long boot block runs on into it.
    if (i < kAdspInternalWords) {
      program[i] = word;
    } else {
      processor_->state.externalRam[i - kAdspInternalWords] = word;
    }
  }
  queue_->Cancel(processor_->bootDoneEventId);
  queue_->Schedule(queue_->Now() + kBootDoneUs, processor_->bootDoneEventId, 0);
}

void CSoundBoard::SoundReset() {
  if (link.soundResetHeld != 0) return;
  BoardReset();
  processor_->ProcessorReset();
  BootLoad();
  link.soundResetHeld = 1;
}

// --- Latches and bank --------------------------------------------------------------------------

void CSoundBoard::WriteCommand(u16 value) {
  link.boardFlags &= ~u32{kCommandTaken};
  link.commandLatch = value;
  processor_->RaiseLine(kPendingCommand);
  queue_->NotifyEarliest();
}

u16 CSoundBoard::OnCommandRead(CSoundBoard* board, u32) {
  board->link.boardFlags |= kCommandTaken;
  board->processor_->DropLine(kPendingCommand);
  return board->link.commandLatch;
}

void CSoundBoard::OnReplyWrite(CSoundBoard* board, u32, u16 value) {
  board->link.boardFlags &= ~u32{kReplyTaken};
  board->link.replyLatch = value;
}

void CSoundBoard::OnBankSelect(CSoundBoard* board, u32, u16 value) {
  SSoundLinkBlock& link = board->link;
  const u32 bank = value & kBankMask;
  if (bank == link.bankRegister) return;
  link.bankRegister = bank;
  link.bankOffset = ((bank >> 8) * kWindowsPerRom + (bank & 0xFF)) * kWindowBytes;
}

void CSoundBoard::OnIrqDrop(void* context, u64 userData, f64) {
  auto* board = static_cast<CSoundBoard*>(context);
  board->processor_->DropLine(1u << (userData & 31));
}

}  // namespace vx
