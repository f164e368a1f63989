// CMixer: a frame's samples of the board and its clones on their way to the host, as interleaved
// 16-bit stereo.
//
// Without clones both channels carry the board's samples. With them each clone is panned against
// the listener, or rendered by the host's mixer of sources in space if there is one. Blocks of one
// frame's length go out; what is left stays for the next frame. All arithmetic is exact: f32
// without contraction, products truncated, sums clamped once at the end.
#pragma once

#include <memory>
#include <vector>

#include "sound/DspInstances.h"
#include "sound/SoundBoard.h"
#include "sound/SoundPort.h"

namespace vx {

// A source of the host's spatial mixer and the samples that come from it.
struct SSpatialSource {
  void* handle = nullptr;
  std::vector<i16> samples;
};

// What a frame is mixed from.
struct SMixInput {
  CSoundBoard& board;
  CDspInstances& instances;
  f32 (&listener)[4][3];  // the first is the position, the third the axis from left to right
  bool bInvertRight;      // of the board's own stream, beside clones
  f64 frameRate;          // frames a second, in force
};

class CMixer {
 public:
  static constexpr u32 kOutputValues = 16384;  // room; a frame fills up to kMostHeld of it
  static constexpr u32 kMostHeld = 8192;

  // Takes the frame's samples and hands a block to the host when there is one.
  void MixFrame(const SMixInput& input, CSoundPort& port);
  // Drops what is held, at a reset.
  void Reset();
  // Gives the host's sources back, before the machine goes.
  void DestroySources(CSoundPort& port);
  // Makes the tail buffer, of the host's block size, if there is none; a loaded tail needs it too.
  void PrepareTail(CSoundPort& port);
  // Empties the tail; entries from tailCount on are always 0.
  void ClearTail();

  // saved, as far as filled
  i16 output[kOutputValues] = {};
  u32 outputCount = 0;
  std::unique_ptr<i32[]> tail;  // what sources ring on with, of the next frames
  u32 tailCount = 0;
  u32 tailCapacity = 0;

  // derived
  std::vector<SSpatialSource> sources;

 private:
  void ExpandBoard(const SMixInput& input, u32 count);
  void AddTail(u32 values);
  void PrepareSources(u32 count, CSoundPort& port);
  void AddInstance(SDspInstanceSlot& slot, u32 index, u32 count, const SMixInput& input,
                   CSoundPort& port, bool bSpatial);
  void AddRendered(const SDspInstanceSlot& slot, SSpatialSource& source, u32 count,
                   CSoundPort& port);
  void AddPanned(SDspInstanceSlot& slot, u32 count, const f32 (&listener)[4][3]);
  void StoreClamped(u32 values);
  void EmitBlock(u32 blockCount, CSoundPort& port);

  std::unique_ptr<i32[]> mix_;
};

}  // namespace vx
