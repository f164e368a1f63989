// vxdis: lists the main processor's ops in a ROM, a pack or a memory dump.
#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "tools/packfile/PendingFile.h"
#include "tools/packfile/ToolError.h"
#include "tools/vxdis/Image.h"
#include "tools/vxdis/Listing.h"

namespace {

constexpr const char* kAbout =
    "Lists the main processor's ops in a ROM file, a pack or a memory dump, with addresses, words, "
    "texts and labels: sub_ where a jal of the listing leads, L_ where a branch or j does.";

constexpr const char* kFooter =
    "Addresses are hexadecimal, with or without 0x. Words are little-endian.\n"
    "Examples:\n"
    "  vxdis game.qilhard\n"
    "  vxdis boot.rom --start BFC00180 --length 0x80\n"
    "  vxdis ram.bin --base 80000000 -o ram.lst\n\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the file is a damaged pack, or there is nothing in it to list\n"
    "  2  the command line is wrong, or asks for what is not there\n"
    "  3  a file cannot be read or written";

// What was asked, as text where the option was given.
struct SRequest {
  std::string file;
  std::string entry;
  std::string base;
  std::string start;
  std::string length;
  std::string output;
};

int Fail(vx::EExitCode exitCode, const char* sentence) {
  std::fprintf(stderr, "vxdis: %s\n", sentence);
  return static_cast<int>(exitCode);
}

bool DropPrefix(std::string_view& text) {
  if (!text.starts_with("0x") && !text.starts_with("0X")) return false;
  text.remove_prefix(2);
  return true;
}

template <typename T>
T ParseWhole(const char* option, const std::string& given, std::string_view digits, int radix,
             const char* what) {
  T value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, radix);
  if (error != std::errc() || stop != end) {
    throw vx::CToolError(vx::EExitCode::BadInput,
                         std::string(option) + " " + given + " is not " + what + ".");
  }
  return value;
}

std::optional<vx::u32> ParseAddress(const char* option, const std::string& given) {
  if (given.empty()) return std::nullopt;
  std::string_view digits = given;
  DropPrefix(digits);
  return ParseWhole<vx::u32>(option, given, digits, 16, "a hexadecimal address of 32 bits");
}

template <typename T>
std::optional<T> ParseNumber(const char* option, const std::string& given) {
  if (given.empty()) return std::nullopt;
  std::string_view digits = given;
  const int radix = DropPrefix(digits) ? 16 : 10;
  return ParseWhole<T>(option, given, digits, radix, "a number");
}

// The finished listing takes the place of what stands under its name, so that may neither be the
// input nor a device or pipe.
void RefuseOverwriting(const SRequest& request) {
  std::error_code ignored;
  if (std::filesystem::equivalent(request.output, request.file, ignored)) {
    throw vx::CToolError(
        vx::EExitCode::BadInput,
        request.output + " is the input itself and is not overwritten; give another name.");
  }
  if (std::filesystem::is_other(std::filesystem::status(request.output, ignored))) {
    throw vx::CToolError(vx::EExitCode::BadInput,
                         request.output +
                             " is no regular file and is not overwritten; leave -o out and "
                             "redirect the output there.");
  }
}

void WriteOut(const vx::SImage& image, const std::string& output) {
  if (output.empty()) {
    vx::WriteListing(image, [](std::string_view line) {
      std::fwrite(line.data(), 1, line.size(), stdout);  // failures show in the flush below
    });
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
      throw vx::CToolError(vx::EExitCode::BadFile, "the standard output cannot be written.");
    }
    return;
  }
  vx::CPendingFile file(output);
  vx::WriteListing(image, [&file](std::string_view line) {
    file.Write({reinterpret_cast<const vx::u8*>(line.data()), line.size()});
  });
  file.Commit();
}

void Run(const SRequest& request) {
  const auto entry = ParseNumber<vx::u32>("--entry", request.entry);
  const auto base = ParseAddress("--base", request.base);
  const auto start = ParseAddress("--start", request.start);
  const auto length = ParseNumber<vx::u64>("--length", request.length);
  if (!request.output.empty()) RefuseOverwriting(request);
  WriteOut(vx::TakePart(vx::ReadImage(request.file, entry, base), start, length), request.output);
}

int RunCommandLine(int argc, char** argv) {
  SRequest request;
  CLI::App app(kAbout);
  app.name("vxdis");
  app.footer(kFooter);
  app.add_option("FILE", request.file, "A pack, or a file of op words")->required();
  app.add_option("--entry", request.entry, "ROM of the pack: 0 boot ROM, 1 to 8 sound ROMs (0)");
  app.add_option("--base", request.base, "Address of the first byte (BFC00000; sound ROMs 0)");
  app.add_option("--start", request.start, "Address to begin at (the first byte)");
  app.add_option("--length", request.length, "Bytes to list, decimal or 0x... (to the end)");
  app.add_option("-o,--output", request.output, "File to write (standard output)");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return Fail(vx::EExitCode::BadInput,
                (std::string(error.what()) + " (vxdis --help tells more)").c_str());
  }
  Run(request);
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
