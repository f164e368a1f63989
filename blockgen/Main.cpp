// blockgen: turns files of discovered guest code into the sources of a library of native blocks.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "blockgen/Blocks.h"
#include "blockgen/GuestCode.h"
#include "blockgen/Library.h"

namespace {

namespace bg = vx::blockgen;

constexpr const char* kAbout =
    "Turns files of discovered guest code (vxcache*.qilmcache, which vxrun leaves when the setting "
    "VX_PreserveCache is on) into the C++ sources of a library of native blocks.";
constexpr const char* kFooter =
    "A file may be followed by '=' and an image of the guest's flat memory at the end of that run: "
    "then words come from it, which code with likely branches needs.\n"
    "Into the folder go unit_0.cpp and on, table.cpp, table.bin and report.txt. A file whose "
    "content "
    "stays is not touched.\n\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  a file is not one of discovered code\n"
    "  2  the command line is wrong\n"
    "  3  a file cannot be written";

struct SRequest {
  std::vector<std::string> inputs;
  std::string folder;
  vx::u32 units = 8;
  bg::SOptions options;
};

class COutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Leaves a file alone that holds these bytes already, so that nothing is compiled again for it.
void WriteIfChanged(const std::filesystem::path& path, std::string_view bytes) {
  {
    std::ifstream old(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(old)), {});
    if (old.is_open() && text == bytes) return;
  }
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) throw COutputError(path.string() + " cannot be written");
}

void Generate(const SRequest& request) {
  bg::SBlockSet set;
  for (const std::string& input : request.inputs) {
    const size_t split = input.find('=');
    const std::string image = split == std::string::npos ? "" : input.substr(split + 1);
    bg::CollectBlocks(bg::CGuestCode(input.substr(0, split), image), request.options, set);
  }
  const bg::SLibrary library = bg::BuildLibrary(set.blocks);

  const std::filesystem::path folder = request.folder;
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  for (vx::u32 unit = 0; unit < request.units; ++unit) {
    WriteIfChanged(folder / ("unit_" + std::to_string(unit) + ".cpp"),
                   bg::UnitSource(library, unit, request.units));
  }
  const std::vector<vx::u8> image = bg::TableImage(library);
  WriteIfChanged(folder / "table.bin", {reinterpret_cast<const char*>(image.data()), image.size()});
  WriteIfChanged(folder / "table.cpp", bg::TableSource(library));
  WriteIfChanged(folder / "report.txt", bg::Report(set));
  std::printf("%zu native blocks in %zu functions; %zu entries without one (%s)\n",
              library.rows.size(), library.functions.size(), set.dropped.size(),
              (folder / "report.txt").c_str());
}

int Fail(int exitCode, const char* sentence) {
  std::fprintf(stderr, "blockgen: %s\n", sentence);
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  SRequest request;
  CLI::App app(kAbout);
  app.footer(kFooter);
  app.add_option("files", request.inputs, "Files of discovered code")->required();
  app.add_option("-o,--output", request.folder, "Folder for the sources")->required();
  app.add_option("--units", request.units, "Number of units to compile [8]")
      ->check(CLI::Range(1, 4096));
  app.add_flag("--no-float", request.options.bRefuseFloat,
               "Refuse blocks with floating point ops: they are made for registers that are each "
               "their own (Status bit 26), and run wrongly where the guest uses them in pairs");
  app.add_flag("--all-tails", request.options.bAllTails,
               "Make an entry at every op of a block, for guests that jump into unrolled loops");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  try {
    Generate(request);
  } catch (const bg::CInputError& error) {
    return Fail(1, error.what());
  } catch (const std::exception& error) {
    return Fail(3, error.what());
  }
  return 0;
}
