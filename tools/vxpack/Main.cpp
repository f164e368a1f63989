// vxpack: makes, shows, checks and takes apart game packs.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "tools/packfile/ToolError.h"
#include "tools/vxpack/Commands.h"

namespace {

constexpr const char* kAbout = "Makes, shows, checks and takes apart game packs (.qilhard).";

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0  done; for 'verify': the pack is whole\n"
    "  1  the file is no pack, or a damaged one\n"
    "  2  the command line, the manifest or an input's size is wrong\n"
    "  3  a file cannot be read or written";

constexpr const char* kManifestHelp =
    "The manifest is a text of 'key = value' lines; '#' begins a comment and file names are "
    "relative "
    "to the manifest:\n"
    "  identity = A or B            board layout\n"
    "  boot = FILE                  boot ROM, at most 524288 bytes\n"
    "  sound1 .. sound8 = FILE      sound ROMs, each may be left out\n"
    "  disk = FILE                  raw image\n"
    "  chunk = 32768 or 65536       bytes of disk packed together (65536)\n"
    "  sector = 512                 the only sector size there is\n"
    "  cylinders, heads, sectors_per_track = N\n"
    "                               size of the disk; a shorter image is extended by zeros, a "
    "longer\n"
    "                               one refused (left out: 16 heads, 63 sectors, cylinders to "
    "fit)\n"
    "  sectors = N                  if the disk has more sectors than its geometry tells\n"
    "A ROM's hash is the XXH3-64 of its bytes; the disk's that of its bytes and geometry.";

int Fail(vx::EExitCode exitCode, const char* sentence) {
  std::fprintf(stderr, "vxpack: %s\n", sentence);
  return static_cast<int>(exitCode);
}

int RunCommandLine(int argc, char** argv) {
  std::string manifest;
  std::string output;
  std::string pack;
  std::string folder;
  bool bForce = false;
  bool bQuiet = false;

  CLI::App app(kAbout);
  app.name("vxpack");
  app.require_subcommand(1);
  app.footer(kExitCodes);

  CLI::App* build = app.add_subcommand("build", "Make a pack from a manifest.");
  build->add_option("MANIFEST", manifest, "The manifest")->required();
  build->add_option("-o,--output", output, "The pack to write")->required();
  build->add_flag("-q,--quiet", bQuiet, "Say nothing when all is well");
  build->footer(kManifestHelp);

  CLI::App* info = app.add_subcommand("info", "Print what a pack holds.");
  info->add_option("PACK", pack, "The pack")->required();

  CLI::App* verify = app.add_subcommand("verify", "Decode everything in a pack, check all hashes.");
  verify->add_option("PACK", pack, "The pack")->required();
  verify->add_flag("-q,--quiet", bQuiet, "Say nothing when all is well");

  CLI::App* extract = app.add_subcommand("extract", "Write ROMs, disk image and manifest.");
  extract->add_option("PACK", pack, "The pack")->required();
  extract->add_option("-d,--directory", folder, "The folder to write into")->required();
  extract->add_flag("-f,--force", bForce, "Replace files that exist");
  extract->add_flag("-q,--quiet", bQuiet, "Say nothing when all is well");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return Fail(vx::EExitCode::BadInput,
                (std::string(error.what()) + " (vxpack --help tells more)").c_str());
  }

  if (*build) vx::RunBuild(manifest, output, bQuiet);
  if (*info) vx::RunInfo(pack);
  if (*verify) vx::RunVerify(pack, bQuiet);
  if (*extract) vx::RunExtract(pack, folder, bForce, bQuiet);
  if (std::fflush(stdout) != 0) {
    return Fail(vx::EExitCode::BadFile, "the standard output cannot be written.");
  }
  return static_cast<int>(vx::EExitCode::Done);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return RunCommandLine(argc, argv);
  } catch (const vx::CToolError& error) {
    return Fail(error.ExitCode(), error.what());
  } catch (const std::bad_alloc&) {
    return Fail(vx::EExitCode::BadFile, "there is not enough memory.");
  } catch (const std::exception& error) {
    return Fail(vx::EExitCode::BadFile, error.what());
  }
}
