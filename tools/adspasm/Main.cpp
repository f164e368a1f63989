// adspasm: assembles programs of the sound processor, and takes boot images apart again.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <string>

#include "tools/adspasm/Assembler.h"
#include "tools/adspasm/Disassembler.h"
#include "tools/packfile/PendingFile.h"
#include "tools/packfile/ToolError.h"

namespace {

constexpr const char* kAbout =
    "Assembles a program of the board's sound processor into a boot image for the first sound ROM, "
    "or lists a boot image as a source.";

constexpr const char* kFooter =
    "Examples:\n"
    "  adspasm sound.dsp -o sound.img --listing sound.lst --map sound.map\n"
    "  adspasm sound.dsp                      # only checks the source\n"
    "  adspasm --disassemble sound.img\n\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the source has errors, or the file is no boot image\n"
    "  2  the command line is wrong\n"
    "  3  a file cannot be read or written";

enum class EExit : int { Done = 0, BadSource = 1, BadCommand = 2, BadFile = 3 };

struct SRequest {
  std::string input, output, listing, map, dependencies;
  std::vector<std::string> folders, constants;
  bool bDisassemble = false;
  bool bWarningsAreErrors = false;
};

class CFailure : public std::runtime_error {
 public:
  CFailure(EExit exit, const std::string& sentence) : std::runtime_error(sentence), exit(exit) {}
  const EExit exit;
};

void RefuseOverwriting(const std::string& output, const std::vector<std::string>& inputs) {
  std::error_code ignored;
  for (const std::string& input : inputs) {
    if (std::filesystem::equivalent(output, input, ignored)) {
      throw CFailure(EExit::BadCommand,
                     output + " is an input and is not overwritten; give another name.");
    }
  }
}

// The file appears under its name when it is complete.
void WriteWhole(const std::string& path, std::span<const vx::u8> bytes) {
  vx::CPendingFile file(path);
  file.Write(bytes);
  file.Commit();
}

void WriteText(const std::string& path, const std::string& text) {
  WriteWhole(path, {reinterpret_cast<const vx::u8*>(text.data()), text.size()});
}

std::vector<std::pair<std::string, vx::i64>> ParseConstants(const std::vector<std::string>& given) {
  std::vector<std::pair<std::string, vx::i64>> constants;
  for (const std::string& text : given) {
    try {
      const std::vector<vx::adsp::SToken> line = vx::adsp::SplitLine(text);
      vx::adsp::CTokens tokens(line);
      const vx::adsp::SToken name = tokens.Next();
      if (name.kind != vx::adsp::EToken::Name) throw vx::adsp::CSourceError("there is no name.");
      tokens.ExpectSymbol("=");
      vx::adsp::CSymbols none;
      constants.emplace_back(name.text, vx::adsp::Evaluate(tokens, none, 0));
      tokens.ExpectEnd();
    } catch (const vx::adsp::CSourceError& error) {
      throw CFailure(EExit::BadCommand, "-D " + text + " is not NAME=VALUE: " + error.what());
    }
  }
  return constants;
}

// In the form that build systems read: what the first output was made from.
std::string DependencyText(const std::string& output, const std::vector<std::string>& files) {
  const auto escaped = [](const std::string& path) {
    std::string text;
    for (const char c : path) {
      if (c == ' ' || c == '#') text += '\\';
      if (c == '$') text += '$';
      text += c;
    }
    return text;
  };
  std::string text = escaped(output) + ":";
  for (const std::string& file : files) text += " \\\n  " + escaped(file);
  return text + "\n";
}

EExit AssembleFile(const SRequest& request) {
  vx::adsp::SAssembleOptions options;
  options.includeFolders = request.folders;
  options.constants = ParseConstants(request.constants);
  const vx::adsp::SProgram program = vx::adsp::Assemble(request.input, options);
  for (const vx::adsp::SDiagnostic& diagnostic : program.diagnostics) {
    std::fprintf(stderr, "%s\n", vx::adsp::ToText(diagnostic).c_str());
  }
  if (program.files.empty()) return EExit::BadFile;
  if (!program.bGood) return EExit::BadSource;
  if (request.bWarningsAreErrors && !program.diagnostics.empty()) return EExit::BadSource;

  for (const std::string* output :
       {&request.output, &request.listing, &request.map, &request.dependencies}) {
    if (!output->empty()) RefuseOverwriting(*output, program.files);
  }
  if (!request.listing.empty()) WriteText(request.listing, ListingOf(program));
  if (!request.map.empty()) WriteText(request.map, SymbolMapOf(program));
  if (!request.dependencies.empty()) {
    WriteText(request.dependencies, DependencyText(request.output, program.files));
  }
  if (!request.output.empty()) WriteWhole(request.output, program.BootImage());
  return EExit::Done;
}

EExit DisassembleFile(const SRequest& request) {
  const std::optional<std::string> contents = vx::adsp::ReadSourceFile(request.input);
  if (!contents) throw CFailure(EExit::BadFile, request.input + " cannot be read.");
  const std::vector<vx::u8> bytes(contents->begin(), contents->end());
  std::string text;
  try {
    text = vx::adsp::DisassembleImage(vx::adsp::UnpackBootImage(bytes), request.input);
  } catch (const vx::adsp::CSourceError& error) {
    throw CFailure(EExit::BadSource, request.input + ": " + error.what());
  }
  if (!request.output.empty()) {
    RefuseOverwriting(request.output, {request.input});
    WriteText(request.output, text);
    return EExit::Done;
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw CFailure(EExit::BadFile, "the standard output cannot be written.");
  }
  return EExit::Done;
}

int Fail(EExit exit, const std::string& sentence) {
  std::fprintf(stderr, "adspasm: %s\n", sentence.c_str());
  return static_cast<int>(exit);
}

int RunCommandLine(int argc, char** argv) {
  SRequest request;
  CLI::App app(kAbout);
  app.name("adspasm");
  app.footer(kFooter);
  app.add_option("FILE", request.input, "The source, or a boot image")->required();
  app.add_option("-o,--output", request.output, "Boot image, or the source of --disassemble");
  app.add_option("--listing", request.listing, "Addresses, words and source lines");
  app.add_option("--map", request.map, "Symbols: \"VALUE CODE|DATA|EQU NAME\" lines");
  app.add_option("--depfile", request.dependencies, "What -o was made from, for the build");
  app.add_option("-I,--include", request.folders, "Folder where .INCLUDE also looks")
      ->allow_extra_args(false);
  app.add_option("-D,--define", request.constants, "A constant for the source, as NAME=VALUE")
      ->allow_extra_args(false);
  app.add_flag("--werror", request.bWarningsAreErrors, "Fail on warnings too");
  app.add_flag("--disassemble", request.bDisassemble, "List a boot image as a source");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return Fail(EExit::BadCommand, std::string(error.what()) + " (adspasm --help tells more)");
  }
  const bool bHasOthers = !request.listing.empty() || !request.map.empty() ||
                          !request.dependencies.empty() || !request.folders.empty() ||
                          !request.constants.empty();
  if (request.bDisassemble && bHasOthers) {
    return Fail(EExit::BadCommand, "--disassemble goes with -o only.");
  }
  if (!request.dependencies.empty() && request.output.empty()) {
    return Fail(EExit::BadCommand, "--depfile goes with -o only.");
  }
  return static_cast<int>(request.bDisassemble ? DisassembleFile(request) : AssembleFile(request));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return RunCommandLine(argc, argv);
  } catch (const CFailure& failure) {
    return Fail(failure.exit, failure.what());
  } catch (const vx::CToolError& error) {
    return Fail(EExit::BadFile, error.what());
  } catch (const std::bad_alloc&) {
    return Fail(EExit::BadFile, "there is not enough memory.");
  } catch (const std::exception& error) {
    return Fail(EExit::BadFile, error.what());
  }
}
