// The host's services as the sound part reaches them.
#pragma once

#include "sound/SoundPort.h"

namespace vx {

class CVXMachine;

class CMachineSoundPort final : public CSoundPort {
 public:
  explicit CMachineSoundPort(CVXMachine& machine) : machine_(machine) {}

  void Log(ESoundLog level, const char* format, u32 a, u32 b, u32 c) override;
  bool InvokeHook(u32 tag, u32 plantedWord) override;
  void EmitBlock(const i16* samples, u32 count) override;

  bool IsSpatialEnabled() override;
  u32 SpatialBlockSize() override;
  void GetListener(f32 (&vectors)[4][3]) override;
  void* CreateSource() override;
  void DestroySource(void* source) override;
  void PlaceSource(void* source, const f32 (&position)[3], f32 range, f32 rolloff) override;
  u32 RenderSource(void* source, i16* output, const u16* samples, u32 count) override;

 private:
  CVXMachine& machine_;
};

}  // namespace vx
