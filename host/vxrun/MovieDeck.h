// The input movies of a run: the one that plays and the one that is recorded.
#pragma once

#include <optional>
#include <string>

#include "host/Component.h"
#include "host/Movie.h"
#include "host/MovieFile.h"
#include "host/Session.h"
#include "host/vxrun/Options.h"

namespace vx {

// Movies begin at power-on with the disk as it is in the pack: unless a folder is named, such a run
// keeps what the board saves in a folder of its own that goes with it. Its clock is the board's, so
// that nothing depends on how fast the computer is. While a movie plays, its settings hold instead
// of those of the settings file; the command line still changes what the movie does not dictate.
class CMovieDeck {
 public:
  // Reads the movie to play, loads its settings and locks them, before the machine is made. Without
  // one the settings stay as they are. All throw CHostError.
  CMovieDeck(const SOptions& options, const CComponent& component, const SPackMark& pack);
  ~CMovieDeck();
  CMovieDeck(const CMovieDeck&) = delete;
  CMovieDeck& operator=(const CMovieDeck&) = delete;

  static bool IsNeeded(const SOptions& options);

  // Frames of the movie that plays, 0 without one.
  u64 MovieFrames() const { return movie_ ? movie_->frames : 0; }

  // The settings blob that is in force.
  const SConfigBlob& Config() const { return config_; }

  // The input of the next frame, as long as the movie that plays has one.
  std::optional<SMovieInput> NextInput();
  // Takes the frame that has run with this input. False if the machine has left the path of the
  // movie that plays.
  bool EndFrame(const SMovieInput& input, CSession& session);
  // Completes the recording and tells what was played and recorded, to follow other such words.
  std::string Finish(CSession& session);
  // Throws CHostError (Desync) if the path was left.
  void ThrowIfDesynced() const;

 private:
  void TakeMovieSettings(const SOptions& options, const CComponent& component);
  void StartRecording(const SOptions& options, const CComponent& component, const SPackMark& pack);

  const CComponent& component_;
  std::optional<SMovie> movie_;
  std::optional<CMoviePlayer> player_;
  std::optional<CMovieWriter> writer_;
  SConfigBlob config_{};
  f64 clockMs_;
  u64 framesDone_ = 0;
  std::string desync_;
};

// How the component identifies the pack. Throws CHostError (NotAPack).
SPackMark IdentifyPack(const CComponent& component, const std::string& path);

}  // namespace vx
