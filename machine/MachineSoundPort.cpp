#include "machine/MachineSoundPort.h"

#include "machine/HostAccess.h"
#include "machine/VXMachine.h"

namespace vx {

void CMachineSoundPort::Log(ESoundLog level, const char* format, u32 a, u32 b, u32 c) {
  HostLog(static_cast<ELogLevel>(level), format, a, b, c);
}

bool CMachineSoundPort::InvokeHook(u32 tag, u32 plantedWord) {
  return Host().InvokeDspHook != nullptr &&
         Host().InvokeDspHook(&machine_, true, tag, plantedWord) != 0;
}

void CMachineSoundPort::EmitBlock(const i16* samples, u32 count) {
  if (machine_.onAudioBlock != nullptr) machine_.onAudioBlock(&machine_, samples, count);
}

bool CMachineSoundPort::IsSpatialEnabled() {
  const SHostApi& host = Host();
  const bool bComplete = host.SpatialGetMode != nullptr && host.SpatialGetBlockSize != nullptr &&
                         host.SpatialGetListener != nullptr &&
                         host.SpatialCreateSource != nullptr &&
                         host.SpatialDestroySource != nullptr &&
                         host.SpatialPlaceSource != nullptr && host.SpatialRender != nullptr;
  return bComplete && host.SpatialIsEnabled != nullptr && host.SpatialIsEnabled();
}

u32 CMachineSoundPort::SpatialBlockSize() { return Host().SpatialGetBlockSize(); }

void CMachineSoundPort::GetListener(f32 (&vectors)[4][3]) {
  Host().SpatialGetListener(vectors[0], vectors[1], vectors[2], vectors[3]);
}

void* CMachineSoundPort::CreateSource() { return Host().SpatialCreateSource(); }

void CMachineSoundPort::DestroySource(void* source) {
  if (Host().SpatialDestroySource != nullptr) Host().SpatialDestroySource(source);
}

void CMachineSoundPort::PlaceSource(void* source, const f32 (&position)[3], f32 range,
                                    f32 rolloff) {
  const i32 mode = Host().SpatialGetMode(0, 0, 0);
  Host().SpatialPlaceSource(source, position, range, rolloff, mode);
}

u32 CMachineSoundPort::RenderSource(void* source, i16* output, const u16* samples, u32 count) {
  u32 tailCount = 0;
  Host().SpatialRender(output, &tailCount, source, samples, count);
  return tailCount;
}

}  // namespace vx
