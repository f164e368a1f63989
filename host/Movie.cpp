#include "host/Movie.h"

#include <cmath>
#include <utility>

#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/MovieFile.h"
#include "host/MovieText.h"
#include "host/Text.h"

namespace vx {

namespace {
constexpr u64 kMaxMovieBytes = u64{256} << 20;
constexpr f64 kMinFrameRate = 1.0;
constexpr f64 kMaxFrameRate = 1000.0;
constexpr u32 kMaxClockMHz = 1000;
constexpr u32 kMaxExtraReadTimeUs = 1'000'000;
}  // namespace

SMovie ReadMovie(const std::string& path, const std::vector<SControl>& controls) {
  const std::string bytes = ReadInputFile(path, kMaxMovieBytes);
  if (IsMovieFile(bytes)) return ParseMovieFile(bytes, path);
  if (IsMovieText(bytes)) return ParseMovieText(bytes, path, controls);
  throw CHostError(EExitCode::MovieUnusable, path + ": is not an input movie");
}

void CheckMoviePack(const SMovie& movie, const std::string& packPath, const SPackMark& pack) {
  const bool bSameHash = !movie.packHash || *movie.packHash == pack.hash;
  const bool bSameSize = !movie.packBytes || *movie.packBytes == pack.bytes;
  if (bSameHash && bSameSize) return;
  throw CHostError(
      EExitCode::MovieUnusable,
      movie.path + Format(": was made with another pack (0x%016llx) than %s "
                          "(0x%016llx)",
                          static_cast<unsigned long long>(movie.packHash.value_or(0)),
                          packPath.c_str(), static_cast<unsigned long long>(pack.hash)));
}

bool IsUsableConfig(const SConfigBlob& config) {
  return config.version == kConfigBlobVersion && config.frameRate >= kMinFrameRate &&
         config.frameRate <= kMaxFrameRate && config.clockMHz >= 1 &&
         config.clockMHz <= kMaxClockMHz && config.extraReadTimeUs <= kMaxExtraReadTimeUs;
}

SMovieInput CMoviePlayer::TakeFrame() {
  const SMovieRun& run = movie_.runs[run_];
  ++framesTaken_;
  if (++framesOfRun_ == run.frames) {
    framesOfRun_ = 0;
    ++run_;
  }
  return run.input;
}

std::optional<u64> CMoviePlayer::ExpectedHash() {
  if (nextCheck_ == movie_.checks.size()) return std::nullopt;
  const SMovieCheck& check = movie_.checks[nextCheck_];
  if (check.frame != framesTaken_) return std::nullopt;
  if (nextCheck_ != 0) lastChecked_ = movie_.checks[nextCheck_ - 1].frame;
  ++nextCheck_;
  return check.stateHash;
}

}  // namespace vx
