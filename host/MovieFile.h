// The recorded form of an input movie, as bytes.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/Movie.h"
#include "host/OutputFile.h"

namespace vx {

// Whether it begins as a recorded movie does.
bool IsMovieFile(std::string_view bytes);

// Throws CHostError (MovieUnusable) with a sentence that names the file and what is wrong.
SMovie ParseMovieFile(std::string_view bytes, const std::string& path);

// Records a movie. The file is a valid movie at any moment, whatever ends the process: up to the
// last full block of kMovieCheckFrames frames. All throw CHostError (OutputFailed).
class CMovieWriter {
 public:
  // Creates the file. `settings` are assignments "KEY=VALUE".
  CMovieWriter(const std::string& path, const SPackMark& pack, const SConfigBlob& config,
               const std::vector<std::string>& settings);

  // Takes a frame that has run. `hash` is asked for the machine's hash when a block is full.
  void Add(const SMovieInput& input, const std::function<u64()>& hash);
  // Completes the file; nothing may follow.
  void Finish(const std::function<u64()>& hash);

  u64 Frames() const { return frames_; }
  const std::string& Path() const { return path_; }

 private:
  void WriteBlock(u64 stateHash);
  // Writes bytes and their checksum through to the system, or takes the file back to where it was
  // whole.
  void WriteChecked(std::string bytes);

  std::string path_;
  std::unique_ptr<COutputFile> file_;
  u64 checksum_ = 0;
  u64 wholeBytes_ = 0;
  u64 frames_ = 0;
  u32 blockFrames_ = 0;
  std::vector<SMovieRun> block_;
};

}  // namespace vx
