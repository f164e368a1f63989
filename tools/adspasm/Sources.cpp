#include "tools/adspasm/Sources.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vx::adsp {

namespace {

constexpr size_t kDeepestInclude = 32;
constexpr size_t kLongestLine = 4096;
constexpr size_t kMostLines = 500000;

class CGatherer {
 public:
  CGatherer(const std::vector<std::string>& folders, const SourceReader& read,
            CDiagnostics& diagnostics, SSources& sources)
      : folders_(folders), read_(read), diagnostics_(diagnostics), sources_(sources) {}

  void Add(const std::string& path, const std::string& text) {
    const std::string key = std::filesystem::path(path).lexically_normal().string();
    if (std::find(open_.begin(), open_.end(), key) != open_.end()) {
      throw CSourceError(path + " includes itself.");
    }
    if (open_.size() >= kDeepestInclude) throw CSourceError("includes go too deep.");
    if (std::find(sources_.files.begin(), sources_.files.end(), path) == sources_.files.end()) {
      sources_.files.push_back(path);
    }
    open_.push_back(key);
    u32 number = 0;
    for (size_t at = 0; at < text.size();) {
      const size_t end = std::min(text.find('\n', at), text.size());
      AddLine({path, ++number}, text.substr(at, end - at));
      at = end + 1;
    }
    open_.pop_back();
  }

 private:
  void AddLine(const SPlace& place, const std::string& text) {
    if (sources_.lines.size() >= kMostLines) {
      diagnostics_.Error(place, "the source has more than 500000 lines, its includes counted.");
      throw CDiagnostics::STooMany();
    }
    sources_.lines.push_back({place, text, {}});
    while (!sources_.lines.back().text.empty() && sources_.lines.back().text.back() == '\r') {
      sources_.lines.back().text.pop_back();
    }
    try {
      if (text.size() > kLongestLine) throw CSourceError("the line has more than 4096 characters.");
      sources_.lines.back().tokens = SplitLine(text);
      if (CTokens(sources_.lines.back().tokens).IsWord(".INCLUDE")) {
        const std::vector<SToken> tokens = std::move(sources_.lines.back().tokens);
        sources_.lines.back().tokens.clear();
        Include(place, tokens);
      }
    } catch (const CSourceError& error) {
      diagnostics_.Error(place, error.what());
    }
  }

  void Include(const SPlace& place, const std::vector<SToken>& line) {
    CTokens tokens(line);
    tokens.Next();
    const SToken name = tokens.Next();
    if (name.kind != EToken::String || name.text.empty()) {
      throw CSourceError(".INCLUDE takes a file name in double quotes.");
    }
    tokens.ExpectEnd();
    std::vector<std::filesystem::path> bases = {std::filesystem::path(place.file).parent_path()};
    bases.insert(bases.end(), folders_.begin(), folders_.end());
    for (const std::filesystem::path& base : bases) {
      const std::string path = (base / name.text).string();
      const std::optional<std::string> text = read_(path);
      if (text) return Add(path, *text);
    }
    throw CSourceError("the file " + name.text + " cannot be read.");
  }

  const std::vector<std::string>& folders_;
  const SourceReader& read_;
  CDiagnostics& diagnostics_;
  SSources& sources_;
  std::vector<std::string> open_;
};

}  // namespace

std::optional<std::string> ReadSourceFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error) || error) return std::nullopt;
  if (std::filesystem::file_size(path, error) > kLargestSource || error) return std::nullopt;
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream text;
  if (stream.peek() != std::ifstream::traits_type::eof()) text << stream.rdbuf();
  if (stream.bad()) return std::nullopt;
  return text.str();
}

void ReadSources(const std::string& path, const std::vector<std::string>& folders,
                 const SourceReader& read, CDiagnostics& diagnostics, SSources& sources) {
  const std::optional<std::string> text = read(path);
  if (text) {
    CGatherer(folders, read, diagnostics, sources).Add(path, *text);
  } else {
    diagnostics.Error({path, 0}, "the file cannot be read.");
  }
}

}  // namespace vx::adsp
