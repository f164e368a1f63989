#include "host/WavFile.h"

#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "host/HostError.h"

namespace vx {

namespace {

struct SWavHeader {
  char riff[4] = {'R', 'I', 'F', 'F'};
  u32 riffBytes = 0;  // of all that follows
  char wave[4] = {'W', 'A', 'V', 'E'};
  char fmt[4] = {'f', 'm', 't', ' '};
  u32 fmtBytes = 16;
  u16 format = 1;  // plain PCM
  u16 channels = 2;
  u32 rateHz = 0;
  u32 bytesPerSecond = 0;
  u16 bytesPerPair = 4;
  u16 bitsPerValue = 16;
  char data[4] = {'d', 'a', 't', 'a'};
  u32 dataBytes = 0;
};
static_assert(sizeof(SWavHeader) == 44);

constexpr u64 kMaxDataBytes = 0xFFFFFFFF - sizeof(SWavHeader);

}  // namespace

CWavFile::CWavFile(const std::string& path) : file_(path) { WriteHeader(); }

void CWavFile::WriteHeader() {
  SWavHeader header;
  header.riffBytes = static_cast<u32>(dataBytes_ + sizeof(header) - 8);
  header.rateHz = rateHz_;
  header.bytesPerSecond = rateHz_ * kPairBytes;
  header.dataBytes = static_cast<u32>(dataBytes_);
  file_.Write(&header, sizeof(header));
}

void CWavFile::Write(const i16* samples, u32 count, u32 rateHz) {
  static_assert(sizeof(SPair) == kPairBytes);
  const u32 pairCount = count / 2;
  if (pairCount == 0 || rateHz == 0) return;
  std::vector<SPair> pairs(pairCount);
  std::memcpy(pairs.data(), samples, u64{pairCount} * kPairBytes);
  if (rateHz_ == 0) rateHz_ = rateHz;
  if (rateHz == rateHz_) {
    WritePairs(pairs.data(), pairCount);
    bDirect_ = true;
  } else {
    Convert(pairs.data(), pairCount, rateHz);
  }
  last_ = pairs.back();
}

void CWavFile::Convert(const SPair* pairs, u32 count, u32 rateHz) {
  const f64 step = static_cast<f64>(rateHz) / rateHz_;
  if (std::exchange(bDirect_, false)) phase_ = step;  // last_ itself is in the file
  std::vector<SPair> out;
  out.reserve(static_cast<std::size_t>(count / step) + 2);
  // Position p lies between input pair p - 1 and input pair p, where pair -1 is last_.
  for (; phase_ < count; phase_ += step) {
    const u32 index = static_cast<u32>(phase_);
    const f64 part = phase_ - index;
    const SPair& from = index == 0 ? last_ : pairs[index - 1];
    const SPair& to = pairs[index];
    const auto between = [part](i16 a, i16 b) {
      return static_cast<i16>(std::lround(a + (b - a) * part));
    };
    out.push_back({between(from.left, to.left), between(from.right, to.right)});
  }
  phase_ -= count;
  WritePairs(out.data(), static_cast<u32>(out.size()));
}

void CWavFile::WritePairs(const SPair* pairs, u32 count) {
  const u64 bytes = u64{count} * kPairBytes;
  if (dataBytes_ + bytes > kMaxDataBytes) {
    throw CHostError(EExitCode::OutputFailed, file_.Path() + ": is full, a WAV file ends at 4 GiB");
  }
  file_.Write(pairs, bytes);
  dataBytes_ += bytes;
}

void CWavFile::Close(u32 rateHz) {
  if (rateHz_ == 0) rateHz_ = rateHz;
  file_.Seek(0);
  WriteHeader();
  file_.Close();
}

}  // namespace vx
