// An input movie: what was held in every frame since power-on, with what a machine needs to go the
// same way again. host/MOVIES.md tells both forms of the file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/ControlNames.h"
#include "plugin/Quillon.h"

namespace vx {

inline constexpr u32 kMovieCheckFrames = 60;  // a state hash for each so many frames

// The input of one frame.
struct SMovieInput {
  u32 padBits[kHostPlayers] = {};
  u32 systemBits[kHostPlayers] = {};
  bool bReset = false;  // the machine is reset before the frame

  bool operator==(const SMovieInput&) const = default;
};

struct SMovieRun {
  SMovieInput input;
  u32 frames;  // that have it; 1 if it begins with a reset
};

struct SMovieCheck {
  u64 frame;  // after which the machine has this hash; from 1
  u64 stateHash;
};

struct SMovieSetting {
  std::string assignment;  // "KEY=VALUE"
  std::string origin;      // what a complaint about it begins with
};

// How the component identifies a pack.
struct SPackMark {
  u64 hash = 0;
  u64 bytes = 0;
};

struct SMovie {
  std::string path;
  std::optional<u64> packHash;
  std::optional<u64> packBytes;
  std::vector<SMovieSetting> settings;
  std::optional<SConfigBlob> config;  // else as the settings give it
  std::vector<SMovieRun> runs;
  std::vector<SMovieCheck> checks;  // by rising frame
  u64 frames = 0;
  bool bWhole = true;  // false: the recording was interrupted, and this is all up to there
};

// Reads a movie of either form. `controls` are those that the component has. Throws CHostError:
// FileUnreadable; MovieUnusable for a movie that is damaged, truncated or none; Usage with the
// number of the line for a mistake in the written form.
SMovie ReadMovie(const std::string& path, const std::vector<SControl>& controls);

// Throws CHostError (MovieUnusable) if the movie was not made with this pack.
void CheckMoviePack(const SMovie& movie, const std::string& packPath, const SPackMark& pack);

// Whether a machine can run under these values.
bool IsUsableConfig(const SConfigBlob& config);

// Hands out a movie frame by frame. The movie outlives it.
class CMoviePlayer {
 public:
  explicit CMoviePlayer(const SMovie& movie) : movie_(movie) {}

  bool HasEnded() const { return framesTaken_ == movie_.frames; }
  SMovieInput TakeFrame();

  // The recorded hash after the frame that was taken last, if there is one.
  std::optional<u64> ExpectedHash();
  // The checks that ExpectedHash has answered before the latest one.
  u64 LastCheckedFrame() const { return lastChecked_; }
  u64 CheckCount() const { return nextCheck_; }

 private:
  const SMovie& movie_;
  u64 framesTaken_ = 0;
  std::size_t run_ = 0;
  u32 framesOfRun_ = 0;
  std::size_t nextCheck_ = 0;
  u64 lastChecked_ = 0;
};

}  // namespace vx
