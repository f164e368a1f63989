#include "host/vxrun/ScriptDeck.h"

#include <cstdio>
#include <filesystem>

#include "host/HostServices.h"
#include "host/InputFile.h"

namespace vx {

namespace {

constexpr u64 kMostScriptBytes = u64{4} << 20;

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

SScriptPort PortOf(const SOptions& options, const CComponent& component, CSession& session) {
  return {
      .table = component.Table(),
      .machine = session.Machine(),
      .reset = [&session] { session.Reset(); },
      .print =
          [](const std::string& line) {
            std::fwrite(line.data(), 1, line.size(), stdout);
            std::fputc('\n', stdout);
          },
      .error = [](const std::string& line) { std::fprintf(stderr, "vxrun: %s\n", line.c_str()); },
      .folders = {FolderOf(options.scriptPath), FolderOf(options.packPath)},
  };
}

SScriptLimits LimitsOf(const SOptions& options) {
  SScriptLimits limits;
  limits.instructions = options.scriptLimitMillions * 1'000'000;
  limits.bAllLibraries = options.bScriptLibraries;
  return limits;
}

}  // namespace

CScriptDeck::CScriptDeck(const SOptions& options, const CComponent& component, CSession& session)
    : path_(options.scriptPath),
      text_(ReadInputFile(path_, kMostScriptBytes)),
      engine_(PortOf(options, component, session), LimitsOf(options)) {
  CHostServices::Get().SetScriptHandler(&engine_);
}

CScriptDeck::~CScriptDeck() { CHostServices::Get().SetScriptHandler(nullptr); }

void CScriptDeck::Start() { engine_.Run(std::filesystem::path(path_).filename().string(), text_); }

}  // namespace vx
