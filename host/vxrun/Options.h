// The command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

struct SOptions {
  std::string packPath;
  std::string componentPath;
  bool bNoNative = false;
  std::string cacheFolder;  // empty: the default
  std::vector<std::string> settings;
  std::string settingsPath;  // empty: the user's own
  bool bListSettings = false;
  bool bSaveSettings = false;
  std::string controlsPath;  // empty: the user's own
  bool bListControls = false;
  std::string inputPath;   // movie to play
  std::string recordPath;  // movie to record

  std::string stateFolder;  // empty: the user's own
  std::string loadState;    // slot or file; empty: none
  std::string saveState;
  bool bListStates = false;
  u32 rewindSeconds = 60;  // 0: off
  u32 runAhead = 0;        // frames

  std::string scriptPath;
  u64 scriptLimitMillions = 50;  // of instructions in a frame
  bool bScriptLibraries = false;
  bool bScriptManual = false;

  bool bHeadless = false;
  u64 frames = 0;   // 0: until stopped
  f64 seconds = 0;  // of board time; 0: by frames
  bool bUnthrottled = false;
  u32 scale = 0;  // 0: the largest that leaves room on the screen, up to 3

  std::string pngFolder;
  u64 pngEvery = 1;
  std::string hashLogPath;
  std::string wavPath;
  std::string screenshotFolder;  // empty: the current folder

  bool bSpatial = false;  // sounds in space by the host's panner
  bool bTimeToFirstFrame = false;
  bool bVerbose = false;
};

// Answers nothing and sets `exitCode` when the program is to end at once: after --help, or after a
// mistake that has been told on stderr.
std::optional<SOptions> ParseOptions(int argc, char** argv, int& exitCode);

}  // namespace vx
