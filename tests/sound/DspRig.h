// A sound processor with its board, on a timeline of its own and without a machine.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "machine/EventQueue.h"
#include "sound/ADSP.h"
#include "sound/ADSPMemory.h"
#include "sound/SoundBoard.h"

namespace vx::test {

// A port that keeps what it is told.
class CRecordingPort final : public CSoundPort {
 public:
  void Log(ESoundLog level, const char* format, u32 a, u32 b, u32 c) override;
  bool InvokeHook(u32 tag, u32 plantedWord) override;
  void EmitBlock(const i16* samples, u32 count) override;
  bool IsSpatialEnabled() override { return bSpatial; }
  u32 SpatialBlockSize() override { return blockSize; }
  void GetListener(f32 (&vectors)[4][3]) override;
  void* CreateSource() override;
  void DestroySource(void* source) override;
  void PlaceSource(void* source, const f32 (&position)[3], f32 range, f32 rolloff) override;
  u32 RenderSource(void* source, i16* output, const u16* samples, u32 count) override;

  struct SLine {
    i32 level;
    std::string text;
  };
  struct SHookCall {
    u32 tag, word;
  };
  std::vector<SLine> lines;
  std::vector<SHookCall> hookCalls;
  std::vector<std::vector<i16>> blocks;
  bool bKeepBlocks = true;
  bool bHookAnswer = true;
  void (*onHook)(void* context) = nullptr;
  void* hookContext = nullptr;

  bool bSpatial = false;
  u32 blockSize = 64;
  u32 tailAnswer = 0;  // values that a source says to have put behind its samples
  u32 sourcesMade = 0, sourcesGone = 0;
  std::vector<f32> placedRanges;
  f32 listener[4][3] = {};
};

class CDspRig {
 public:
  explicit CDspRig(const SADSPVariant& variant = kMainProcessor);

  // Words into program memory from an address on; the PC goes there too.
  void Program(u32 address, const std::vector<u32>& words);
  // Executes one instruction word at the present PC, as if it had been fetched.
  void Do(u32 word) { processor.Execute(word); }
  // A cycle for each word of a program.
  u32 Run(u32 cycles) { return processor.Run(cycles); }
  SADSPState& State() { return processor.state; }
  SADSPBank& Bank() { return processor.state.bank; }
  const SEvent* Pending(u32 eventId) const;
  u32 Count(u32 eventId) const;
  // Sets the serial port up for a transfer out of data memory and starts it.
  void StartTransfer(u32 index, u32 address, u32 length, u32 step, u32 divider = 19);

  CEventQueue queue;
  CRecordingPort port;
  std::vector<u8> rom;
  CSoundBoard board;
  CADSP processor;
  f64 now = 0.0;
  u32 cuts = 0;  // times that the listeners were told
};

// --- Instruction words ---------------------------------------------------------------------------

inline constexpr u32 kTrue = 15;
constexpr u32 AluOp(u32 code, u32 x, u32 y) { return code << 13 | y << 11 | x << 8; }
// Executed if true, into AR, AF, MR or MF.
constexpr u32 ToAr(u32 code, u32 x, u32 y) { return 0x220000 | AluOp(code, x, y) | kTrue; }
constexpr u32 ToAf(u32 code, u32 x, u32 y) { return 0x260000 | AluOp(code, x, y) | kTrue; }
constexpr u32 ToMr(u32 code, u32 x, u32 y) { return 0x200000 | AluOp(code, x, y) | kTrue; }
constexpr u32 ToMf(u32 code, u32 x, u32 y) { return 0x240000 | AluOp(code, x, y) | kTrue; }
constexpr u32 ShiftSe(u32 code, u32 x) { return 0x0E0000 | code << 11 | x << 8 | kTrue; }
constexpr u32 ShiftBy(u32 code, u32 x, i32 count) {
  return 0x0F0000 | code << 11 | x << 8 | (static_cast<u32>(count) & 0xFF);
}
constexpr u32 LoadControl(u32 index, u32 value) { return 0x3C0000 | (value & 0x3FFF) << 4 | index; }
constexpr u32 Move(u32 toGroup, u32 to, u32 fromGroup, u32 from) {
  return 0x0D0000 | toGroup << 10 | fromGroup << 8 | to << 4 | from;
}

}  // namespace vx::test
