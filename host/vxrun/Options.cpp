#include "host/vxrun/Options.h"

#include <CLI/CLI.hpp>

#include "host/Folders.h"
#include "host/HostError.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr u64 kMaxFrames = u64{1} << 53;  // counted exactly by any tool that reads the log

std::string Footer() {
  std::string text =
      "Keys: arrows move, A S D and Z X C are the buttons, 1 starts, 5 inserts a coin, F2 is the\n"
      "test switch. Second player: I K J L, R T Y and F G H, 2, 6. Controllers work too.\n"
      "P pauses, N runs one frame, Tab held is fast forward, B held goes back. F5 saves a state, "
      "F8\n"
      "loads it, F6 and F7 choose one of ten slots, F9 and F10 undo a load and a save, F11 lists "
      "the\n"
      "slots. F12 saves a screenshot and names its file, F3 resets the board, M mutes, Esc quits.\n"
      "--list-controls shows all of them.\n"
      "\nExit codes:\n";
  for (const SExitCodeText& row : kExitCodeTexts) {
    text += Format("  %3d  %s\n", static_cast<int>(row.code), row.meaning);
  }
  return text;
}

void Declare(CLI::App& app, SOptions& options) {
  const auto positive = CLI::Range(u64{1}, kMaxFrames);
  app.footer(Footer());
  app.add_option("PACK", options.packPath, "The pack to run (.qilhard)");

  app.add_flag("--headless", options.bHeadless, "Run without window and sound, as fast as possible")
      ->group("Run");
  CLI::Option* frames = app.add_option("--frames", options.frames, "End after N frames")
                            ->type_name("N")
                            ->check(positive)
                            ->group("Run");
  app.add_option("--seconds", options.seconds, "End after N seconds of board time")
      ->type_name("N")
      ->check(CLI::Range(0.001, 1e9))
      ->excludes(frames)
      ->group("Run");
  app.add_flag("--unthrottled", options.bUnthrottled,
               "Do not wait between frames, and report the speed at the end")
      ->group("Run");
  app.add_option("--scale", options.scale, "Window size as a multiple of the picture")
      ->type_name("N")
      ->check(CLI::Range(1u, 32u))
      ->group("Run");
  app.add_flag("--time-to-first-frame", options.bTimeToFirstFrame,
               "Print the milliseconds from program start to the first frame")
      ->group("Run");

  CLI::Option* png =
      app.add_option("--png", options.pngFolder, "Write pictures as DIR/frame_000001.png and so on")
          ->type_name("DIR")
          ->group("Output");
  app.add_option("--every", options.pngEvery, "Write only the pictures of frames K, 2K, 3K ...")
      ->type_name("K")
      ->check(positive)
      ->needs(png)
      ->group("Output");
  app.add_option("--hash-log", options.hashLogPath,
                 "Write one line a frame: frame number, state hash, picture hash")
      ->type_name("FILE")
      ->group("Output");
  app.add_option("--wav", options.wavPath, "Write the sound as 16-bit stereo")
      ->type_name("FILE")
      ->group("Output");
  app.add_option("--screenshots", options.screenshotFolder,
                 "Folder for the screenshot key [the current one]")
      ->type_name("DIR")
      ->group("Output");

  app.add_option("--set", options.settings, "Change a setting; may be given several times")
      ->type_name("KEY=VALUE")
      ->allow_extra_args(false)
      ->group("Board");
  CLI::Option* settings = app.add_option("--settings", options.settingsPath,
                                         "File of settings [~/.config/vxrun/settings.conf]")
                              ->type_name("FILE")
                              ->group("Board");
  app.add_flag("--list-settings", options.bListSettings, "Show all settings and end")
      ->group("Board");
  CLI::Option* saveSettings = app.add_flag("--save-settings", options.bSaveSettings,
                                           "Keep the settings of this run in the file of settings")
                                  ->group("Board");
  app.add_option("--controls", options.controlsPath,
                 "File of keys and controller parts [~/.config/vxrun/controls.conf]")
      ->type_name("FILE")
      ->group("Input");
  CLI::Option* input =
      app.add_option("--input", options.inputPath,
                     "Play an input movie, recorded or written; the run ends with its last frame")
          ->type_name("FILE")
          ->excludes(settings)
          ->excludes(saveSettings)
          ->group("Input");
  CLI::Option* record =
      app.add_option("--record-input", options.recordPath, "Record the input as a movie")
          ->type_name("FILE")
          ->group("Input");
  app.add_option("--load-state", options.loadState, "Go on from a saved state: a slot or a file")
      ->type_name("0-9|FILE")
      ->excludes(input)
      ->excludes(record)
      ->group("States");
  app.add_option("--save-state", options.saveState, "Save a state after the last frame")
      ->type_name("0-9|FILE")
      ->group("States");
  app.add_flag("--list-states", options.bListStates, "Show the slots of this pack, and end")
      ->group("States");
  app.add_option("--states", options.stateFolder,
                 "Folder of the slots [~/.local/share/vxrun/states/]")
      ->type_name("DIR")
      ->group("States");
  app.add_option("--rewind", options.rewindSeconds,
                 "Seconds that a window can go back; 0 for none [60]")
      ->type_name("N")
      ->check(CLI::Range(0u, 600u))
      ->group("States");
  CLI::Option* runAhead =
      app.add_option("--run-ahead", options.runAhead,
                     "Show the picture of N frames on, so that input is seen earlier")
          ->type_name("N")
          ->check(CLI::Range(0u, 4u))
          ->group("States");
  app.add_flag("--list-controls", options.bListControls,
               "Show all controls, as a file for --controls, and end")
      ->group("Input");
  CLI::Option* component =
      app.add_option("--component", options.componentPath,
                     "The component to load [machine_vx.so beside this program]")
          ->type_name("FILE")
          ->group("Board");
  app.add_flag("--no-native", options.bNoNative,
               "Load machine_vx_replay.so beside this program: the same board without native "
               "blocks, slower")
      ->excludes(component)
      ->group("Board");
  app.add_option("--cache-dir", options.cacheFolder,
                 "Folder for what the board keeps between runs [~/.cache/vxrun/]")
      ->type_name("DIR")
      ->group("Board");
  app.add_flag("--spatial", options.bSpatial,
               "Place sounds in space by this host's panner instead of the board's own")
      ->group("Board");
  CLI::Option* script =
      app.add_option("--script", options.scriptPath, "Run a Lua script beside the board")
          ->type_name("FILE")
          ->excludes(runAhead)
          ->group("Scripts");
  app.add_option("--script-limit", options.scriptLimitMillions,
                 "Millions of instructions that a script has in a frame [50]")
      ->type_name("N")
      ->check(CLI::Range(u64{1}, u64{1'000'000}))
      ->needs(script)
      ->group("Scripts");
  app.add_flag("--script-libraries", options.bScriptLibraries,
               "Give the script files, processes and modules too")
      ->needs(script)
      ->group("Scripts");
  app.add_flag("--script-manual", options.bScriptManual, "Print the manual of scripts and end")
      ->group("Scripts");
  app.add_flag("--verbose", options.bVerbose, "Show all that the component has to say");
}

}  // namespace

std::optional<SOptions> ParseOptions(int argc, char** argv, int& exitCode) {
  SOptions options;
  CLI::App app("Runs a pack on the virtual arcade board.", "vxrun");
  Declare(app, options);
  try {
    app.parse(argc, argv);
    const bool bLooksOnly = options.bListSettings || options.bSaveSettings ||
                            options.bListControls || options.bScriptManual;
    if (options.packPath.empty() && !bLooksOnly) throw CLI::RequiredError("PACK");
  } catch (const CLI::CallForHelp& help) {
    exitCode = app.exit(help);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "vxrun: %s; --help shows the options\n", error.what());
    exitCode = static_cast<int>(EExitCode::Usage);
    return std::nullopt;
  }
  if (options.componentPath.empty()) {
    options.componentPath =
        ComponentBesideProgram(options.bNoNative ? kReplayComponent : kNativeComponent);
  }
  return options;
}

}  // namespace vx
