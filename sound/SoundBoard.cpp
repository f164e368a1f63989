#include "sound/SoundBoard.h"

#include "sound/ADSP.h"

namespace vx {

namespace {

constexpr f64 kBootDoneUs = 1000.0;
constexpr u32 kCommandIrq = 1u << 2;

}  // namespace

void CSoundBoard::Construct(CADSP* processor, const SRom& rom, CEventQueue* queue) {
  m_processor = processor;
  m_rom = rom;
  m_queue = queue;
  m_autobufferTickId = queue->Register(OnAutobufferTick, this);
  m_irqDropId = queue->Register(OnIrqDrop, this);
  BoardReset();
}

void CSoundBoard::BoardReset() {
  link = SSoundLinkBlock{};
  link.boardFlags = kBoardFlagsAtReset;
  sampleCount = 0;
  m_queue->Cancel(m_autobufferTickId);
  m_queue->Cancel(m_irqDropId);
}

void CSoundBoard::BootLoad() {
  const u64 romBytes = u64{m_rom.count} * m_rom.bytes;
  // A word past the ROM's end reads as an empty socket.
  const auto byteAt = [&](u64 offset) -> u32 {
    const u64 at = link.bankOffset + offset;
    return at < romBytes ? m_rom.base[at] : 0u;
  };
  u32* const program = m_processor->state.internalRam;
  const u32 words = byteAt(3) * 8 + 8;
  static_assert(255 * 8 + 8 <= kAdspInternalWords + kAdspExternalWords);
  for (u32 i = 0; i < words; ++i) {
    const u32 word = byteAt(4 * i) << 16 | byteAt(4 * i + 1) << 8 | byteAt(4 * i + 2);
    // External RAM stands right behind internal RAM, and a long boot block runs on into it.
    if (i < kAdspInternalWords) {
      program[i] = word;
    } else {
      m_processor->state.externalRam[i - kAdspInternalWords] = word;
    }
  }
  m_queue->Cancel(m_processor->bootDoneEventId);
  m_queue->Schedule(m_queue->Now() + kBootDoneUs, m_processor->bootDoneEventId, 0);
}

void CSoundBoard::SoundReset() {
  if (link.soundResetHeld != 0) return;
  BoardReset();
  m_processor->ProcessorReset();
  BootLoad();
  link.soundResetHeld = 1;
}

void CSoundBoard::WriteCommand(u16 value) {
  SADSPState& processor = m_processor->state;
  link.boardFlags &= ~u32{kCommandTaken};
  link.commandLatch = value;
  if ((processor.irqLevel & kCommandIrq) == 0) processor.irqLatched |= kCommandIrq;
  processor.irqLevel |= kCommandIrq;
  m_queue->NotifyEarliest();
}

void CSoundBoard::OnAutobufferTick(void*, u64, f64) {}

void CSoundBoard::OnIrqDrop(void* context, u64 userData, f64) {
  auto* board = static_cast<CSoundBoard*>(context);
  board->m_processor->state.irqLevel &= ~(1u << (userData & 31));
}

}  // namespace vx
