// Input: the host's per-player records become the guest's active-low port words.
#include <algorithm>

#include "devices/Input.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

constexpr u64 kStatusSoundTaken = 1u
                                  << 1;  // the one bit of the status word that input leaves alone

enum class EPort : u8 { Input0, Input1, Both, Status };

struct SSystemRow {
  EPort port;
  u64 cleared;
};

// clang-format off
constexpr SSystemRow kSystemRows[] = {  // one row a bit of the first record's system bits
  { EPort::Input0, 0x2000 },
  { EPort::Input0, 0x4000 },
  { EPort::Input1, 0x4000 },
  { EPort::Both,   0x8000 },
  { EPort::Input1, 0x2000 },
  { EPort::Input1, 0x1000 },
  { EPort::Status, 0x0008 },
  { EPort::Status, 0x0004 },
  { EPort::Input0, 0x1000 },
};

constexpr u32 kPadMasks[kPadMaskCount] = {  // one mask a pad bit
  0x0001, 0x0008, 0x0010, 0x0800, 0x0400, 0x0040,
  0x0080, 0x0100, 0x0200, 0x0002, 0x0004, 0x0020,
};
// clang-format on

u32 g_padMaskTable[kPadMaskCount] = {};

u64 PadPort(u32 padBits) {
  u64 port = ~u64{0};
  for (u32 bit = 0; bit < kPadMaskCount; ++bit) {
    if ((padBits >> bit & 1) != 0) port &= ~u64{g_padMaskTable[bit]};
  }
  return port;
}

// Read without the lock, by the guest and by scripts.
template <typename T>
void StoreRelaxed(T& word, T value) {
  std::atomic_ref<T>(word).store(value, std::memory_order_relaxed);
}

}  // namespace

void FillPadMaskTable() { std::copy_n(kPadMasks, kPadMaskCount, g_padMaskTable); }

void CVXMachine::SetInput(const SInputRecord* records, u32 count) noexcept {
  const std::lock_guard lock(inputLock);
  inputCount = records != nullptr ? std::min(count, kMaxInputRecords) : 0;
  std::copy_n(records, inputCount, inputRecords);

  u64 port0 = ~u64{0};
  u64 port1 = ~u64{0};
  u64 status = ~u64{0};
  if (inputCount >= 1) port0 = PadPort(inputRecords[0].padBits);
  if (inputCount >= 2) port1 = PadPort(inputRecords[1].padBits);
  for (u32 player = 0; player < std::size(scriptState.playerExtra); ++player) {
    const u32 extra = player < inputCount ? inputRecords[player].systemBits >> 9 : 0;
    StoreRelaxed(scriptState.playerExtra[player], extra);
  }

  const u32 systemBits = inputCount >= 1 ? inputRecords[0].systemBits : 0;
  for (u32 bit = 0; bit < std::size(kSystemRows); ++bit) {
    if ((systemBits >> bit & 1) == 0) continue;
    const SSystemRow& row = kSystemRows[bit];
    if (row.port == EPort::Input0 || row.port == EPort::Both) port0 &= ~row.cleared;
    if (row.port == EPort::Input1 || row.port == EPort::Both) port1 &= ~row.cleared;
    if (row.port == EPort::Status) status &= ~row.cleared;
  }

  StoreRelaxed(state.inputPort0, port0);
  StoreRelaxed(state.inputPort1, port1);
  std::atomic_ref<u64> boardStatus(state.boardStatus);
  boardStatus.fetch_or(status & ~kStatusSoundTaken, std::memory_order_relaxed);
  boardStatus.fetch_and(status, std::memory_order_relaxed);
}

}  // namespace vx
