// The files that a run writes: pictures, hash log, sound.
#pragma once

#include <optional>
#include <string>

#include "host/HashLog.h"
#include "host/Session.h"
#include "host/vxrun/Options.h"
#include "host/WavFile.h"
#include "plugin/Quillon.h"

namespace vx {

// Creates what the options ask for, so that a path that cannot be written is known before a frame
// runs. All throw CHostError (OutputFailed). Frames are counted from 1.
class COutputs {
 public:
  explicit COutputs(const SOptions& options);

  bool WantsPicture(u64 frame) const;
  // `shown` goes into files; the hash is that of the board's own `pixels`.
  void TakePicture(u64 frame, const u32* pixels, const u32* shown, u32 width, u32 height);
  void TakeSound(const i16* samples, u32 count, u32 rateHz);
  void EndFrame(u64 frame, CSession& session);

  // Completes the files and tells what was written where, in one line.
  std::string Finish(u64 frames, u32 rateHz);

 private:
  std::string pngFolder_;  // ends in "/"; empty: no pictures
  u64 pngEvery_;
  u64 pngCount_ = 0;
  std::optional<CHashLog> hashLog_;
  std::string hashLogPath_;
  std::optional<u64> pictureHash_;  // of the current frame
  std::optional<CWavFile> wav_;
};

}  // namespace vx
