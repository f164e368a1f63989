// vx_speed: measures guest kernels by replay, by native blocks, in QEMU's user mode and as code of
// the host, and prints what the board reaches beside what it has to.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "bench/kernels/EmulatorEngine.h"
#include "bench/speed/Report.h"
#include "blocks/BlockTable.h"

namespace vx::bench {

namespace {

struct SOptions {
  SMeasureOptions measure;
  std::string picturePath;
  std::string pagePath;
};

void WriteWhole(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error(path + ": cannot be written");
}

// Replaces what stands between a page's two marks.
void ReplaceTable(const std::string& path, const std::string& table) {
  static const std::string kBegin = "<!-- figures -->\n", kEnd = "<!-- end of figures -->";
  std::ifstream file(path, std::ios::binary);
  std::string page{std::istreambuf_iterator<char>(file), {}};
  const size_t begin = page.find(kBegin);
  const size_t end = page.find(kEnd);
  if (begin == std::string::npos || end == std::string::npos || end < begin) {
    throw std::runtime_error(path + ": has no place for the figures, between " +
                             kBegin.substr(0, kBegin.size() - 1) + " and " + kEnd);
  }
  const size_t from = begin + kBegin.size();
  page.replace(from, end - from, "\n```\n" + table + "```\n\n");
  WriteWhole(path, page);
}

void Run(const SOptions& options) {
  if (!CEmulatorEngine::IsThere()) {
    std::fprintf(stderr, "There is no qemu-mipsn32el: going on without it.\n");
  }
  if (BuiltInLibrary().natives.empty()) {
    std::fprintf(stderr, "This build has no native blocks: going on without them.\n");
  }
  const SFigures figures = Measure(options.measure);
  const std::string text = TextOf(figures);
  std::fputs(text.c_str(), stdout);
  if (!options.picturePath.empty()) WriteWhole(options.picturePath, PictureOf(figures));
  if (!options.pagePath.empty()) ReplaceTable(options.pagePath, text);
}

}  // namespace

}  // namespace vx::bench

int main(int argc, char** argv) {
  using namespace vx;
  bench::SOptions options;
  CLI::App app("Measures guest kernels on the board, in emulation and on the host.", "vx_speed");
  app.add_option("--repetitions", options.measure.repetitions, "Runs of each, in turn")
      ->type_name("N")
      ->check(CLI::Range(1u, 1000u))
      ->capture_default_str();
  app.add_option("--milliseconds", options.measure.milliseconds, "Length of a run")
      ->type_name("N")
      ->check(CLI::Range(1u, 60'000u))
      ->capture_default_str();
  app.add_option("--picture", options.picturePath, "Also write the rates as a picture")
      ->type_name("FILE.svg");
  app.add_option("--page", options.pagePath, "Also replace the figures in a page")
      ->type_name("FILE.md");
  CLI11_PARSE(app, argc, argv);
  try {
    bench::Run(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vx_speed: %s\n", error.what());
    return 1;
  }
  return 0;
}
