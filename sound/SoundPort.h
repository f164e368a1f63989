// What the sound part asks of its surroundings. The machine answers with the host's services; tests
// answer themselves.
#pragma once

#include "base/Types.h"

namespace vx {

enum class ESoundLog : i32 { Warning = 1, Error = 2 };

class CSoundPort {
 public:
  // A printf format that ends in a newline, and the numbers that it takes, in order.
  virtual void Log(ESoundLog level, const char* format, u32 a, u32 b, u32 c) = 0;
  // Tells a script that its hook in the sound program has been reached. True if the word that the
  // hook stands for is to execute.
  virtual bool InvokeHook(u32 tag, u32 plantedWord) = 0;
  // Takes a block of interleaved stereo; `count` counts 16-bit values.
  virtual void EmitBlock(const i16* samples, u32 count) = 0;

  // --- The host's mixer of sources in space, if it has one -------------------------------------
  virtual bool IsSpatialEnabled() = 0;
  virtual u32 SpatialBlockSize() = 0;
  virtual void GetListener(f32 (&vectors)[4][3]) = 0;
  virtual void* CreateSource() = 0;
  virtual void DestroySource(void* source) = 0;
  virtual void PlaceSource(void* source, const f32 (&position)[3], f32 range, f32 rolloff) = 0;
  // Renders mono samples to interleaved stereo, twice as many values and a tail behind them.
  // Answers the values in the tail.
  virtual u32 RenderSource(void* source, i16* output, const u16* samples, u32 count) = 0;

 protected:
  ~CSoundPort() = default;
};

}  // namespace vx
