// The sound of a run as a 16-bit stereo WAV file.
#pragma once

#include <string>

#include "host/OutputFile.h"
#include "plugin/Quillon.h"

namespace vx {

// The file has one rate, that of the first samples. When the board changes its rate, what follows
// is converted by drawing straight lines between samples. A file without samples is valid too.
// Throws as COutputFile does, and when the format's 4 GiB are full.
class CWavFile {
 public:
  explicit CWavFile(const std::string& path);

  // `count` 16-bit values, left and right in turn, at `rateHz`; an odd last value is dropped.
  void Write(const i16* samples, u32 count, u32 rateHz);
  // Completes the header; `rateHz` stands in if there never were samples.
  void Close(u32 rateHz);

  u64 PairCount() const { return dataBytes_ / kPairBytes; }
  const std::string& Path() const { return file_.Path(); }

 private:
  static constexpr u32 kPairBytes = 4;
  struct SPair {
    i16 left, right;
  };

  void WriteHeader();
  void WritePairs(const SPair* pairs, u32 count);
  void Convert(const SPair* pairs, u32 count, u32 rateHz);

  COutputFile file_;
  u32 rateHz_ = 0;
  u64 dataBytes_ = 0;
  SPair last_{};          // the pair before the ones being converted
  f64 phase_ = 0;         // of the next output, in input pairs behind last_
  bool bDirect_ = false;  // the latest pairs went to the file unconverted
};

}  // namespace vx
