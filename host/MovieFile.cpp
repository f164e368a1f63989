#include "host/MovieFile.h"

#include <unistd.h>
#include <cstring>

#include "host/HashLog.h"
#include "host/HostError.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr char kMagic[8] = {'V', 'X', 'M', 'O', 'V', 'I', 'E', '\n'};
constexpr u32 kVersion = 1;
constexpr u32 kMaxSettingsBytes = 1 << 16;
constexpr u16 kFlagReset = 1;

struct SHeader {
  char magic[8];
  u32 version;
  u32 players;
  u64 packHash;
  u64 packBytes;
  SConfigBlob config;
  u32 settingsBytes;  // of text behind this header: "KEY=VALUE\n" for each setting
  u32 reserved;       // 0
};
static_assert(sizeof(SHeader) == 72);
static_assert(offsetof(SHeader, config) == 32 && offsetof(SHeader, settingsBytes) == 64);

// A block of up to kMovieCheckFrames frames. With 0 runs it is the end mark: `frames` is 0, and the
// hash is the number of frames of the movie.
struct SBlock {
  u32 frames;
  u32 runs;
  u64 stateHash;  // after the last of the frames
};
static_assert(sizeof(SBlock) == 16);

struct SRun {
  u16 frames;
  u16 flags;
  u32 padBits[kHostPlayers];
  u32 systemBits[kHostPlayers];
};
static_assert(sizeof(SRun) == 20);

template <typename T>
void Append(std::string& bytes, const T& record) {
  bytes.append(reinterpret_cast<const char*>(&record), sizeof(record));
}

class CMovieParser {
 public:
  CMovieParser(std::string_view bytes, const std::string& path) : rest_(bytes) {
    movie_.path = path;
  }

  SMovie Parse() {
    TakeHeader();
    movie_.bWhole = false;
    while (!rest_.empty() && !movie_.bWhole) TakeBlock();
    if (!rest_.empty()) Fail("is damaged: something follows its end");
    if (movie_.frames == 0) Fail("holds no frames");
    return std::move(movie_);
  }

 private:
  [[noreturn]] void Fail(const std::string& sentence) const {
    throw CHostError(EExitCode::MovieUnusable, movie_.path + ": " + sentence);
  }
  [[noreturn]] void FailBlock(const char* what) const {
    Fail(Format("is %s behind frame %llu", what, static_cast<unsigned long long>(movie_.frames)));
  }

  template <typename T>
  bool Take(T& record) {
    if (rest_.size() < sizeof(record)) return false;
    std::memcpy(&record, rest_.data(), sizeof(record));
    rest_.remove_prefix(sizeof(record));
    return true;
  }

  // The checksum of what lies between `start` and here.
  bool TakeChecksum(std::string_view start, bool& bHolds) {
    const u64 bytes = start.size() - rest_.size();
    u64 stored = 0;
    if (!Take(stored)) return false;
    checksum_ = HashBytes(start.data(), bytes, checksum_);
    bHolds = stored == checksum_;
    return true;
  }

  void TakeHeader() {
    const std::string_view start = rest_;
    SHeader header;
    if (!Take(header)) Fail("is truncated inside its header");
    if (header.version != kVersion) {
      Fail(Format("is an input movie of version %u; this program plays version %u", header.version,
                  kVersion));
    }
    if (header.settingsBytes > kMaxSettingsBytes) Fail("is damaged: its header is wrong");
    if (rest_.size() < header.settingsBytes) Fail("is truncated inside its header");
    TakeSettings(rest_.substr(0, header.settingsBytes));
    rest_.remove_prefix(header.settingsBytes);
    bool bHolds = false;
    if (!TakeChecksum(start, bHolds)) Fail("is truncated inside its header");
    if (!bHolds || header.players != kHostPlayers || header.reserved != 0) {
      Fail("is damaged: its header is wrong");
    }
    if (!IsUsableConfig(header.config)) Fail("is damaged: no machine can run at its speed");
    movie_.packHash = header.packHash;
    movie_.packBytes = header.packBytes;
    movie_.config = header.config;
  }

  void TakeSettings(std::string_view text) {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      movie_.settings.push_back({std::string(text.substr(0, end)), movie_.path + ": "});
      text.remove_prefix(std::min(end + 1, text.size()));
    }
  }

  void TakeBlock() {
    const std::string_view start = rest_;
    SBlock block;
    if (!Take(block)) FailBlock("truncated");
    if (block.frames > kMovieCheckFrames || block.runs > block.frames ||
        (block.runs == 0 && block.frames != 0)) {
      FailBlock("damaged");
    }
    std::vector<SMovieRun> runs;
    u32 frames = 0;
    for (u32 i = 0; i < block.runs; ++i) {
      SRun run;
      if (!Take(run)) FailBlock("truncated");
      SMovieInput input;
      std::memcpy(input.padBits, run.padBits, sizeof(input.padBits));
      std::memcpy(input.systemBits, run.systemBits, sizeof(input.systemBits));
      input.bReset = run.flags == kFlagReset;
      const bool bResetOfMany = input.bReset && run.frames != 1;
      if (run.frames == 0 || run.flags > kFlagReset || bResetOfMany) FailBlock("damaged");
      runs.push_back({input, run.frames});
      frames += run.frames;
    }
    bool bHolds = false;
    if (!TakeChecksum(start, bHolds)) FailBlock("truncated");
    if (!bHolds || frames != block.frames) FailBlock("damaged");
    if (block.frames == 0) {
      if (block.stateHash != movie_.frames) FailBlock("damaged");
      movie_.bWhole = true;
      return;
    }
    movie_.runs.insert(movie_.runs.end(), runs.begin(), runs.end());
    movie_.frames += frames;
    movie_.checks.push_back({movie_.frames, block.stateHash});
  }

  std::string_view rest_;
  u64 checksum_ = 0;
  SMovie movie_;
};

}  // namespace

bool IsMovieFile(std::string_view bytes) {
  return bytes.starts_with(std::string_view(kMagic, sizeof(kMagic)));
}

SMovie ParseMovieFile(std::string_view bytes, const std::string& path) {
  return CMovieParser(bytes, path).Parse();
}

CMovieWriter::CMovieWriter(const std::string& path, const SPackMark& pack,
                           const SConfigBlob& config, const std::vector<std::string>& settings)
    : path_(path), file_(std::make_unique<COutputFile>(path)) {
  std::string text;
  for (const std::string& assignment : settings) text += assignment + "\n";
  SHeader header{};
  std::memcpy(header.magic, kMagic, sizeof(kMagic));
  header.version = kVersion;
  header.players = kHostPlayers;
  header.packHash = pack.hash;
  header.packBytes = pack.bytes;
  header.config = config;
  header.settingsBytes = static_cast<u32>(text.size());
  std::string bytes;
  Append(bytes, header);
  WriteChecked(bytes + text);
}

void CMovieWriter::Add(const SMovieInput& input, const std::function<u64()>& hash) {
  const bool bSame = !block_.empty() && !input.bReset && block_.back().input == input;
  if (bSame) {
    ++block_.back().frames;
  } else {
    block_.push_back({input, 1});
  }
  ++frames_;
  if (++blockFrames_ == kMovieCheckFrames) WriteBlock(hash());
}

void CMovieWriter::Finish(const std::function<u64()>& hash) {
  if (blockFrames_ != 0) WriteBlock(hash());
  std::string bytes;
  Append(bytes, SBlock{0, 0, frames_});
  WriteChecked(std::move(bytes));
  file_->Close();
}

void CMovieWriter::WriteBlock(u64 stateHash) {
  std::string bytes;
  Append(bytes, SBlock{blockFrames_, static_cast<u32>(block_.size()), stateHash});
  for (const SMovieRun& run : block_) {
    SRun record{};
    record.frames = static_cast<u16>(run.frames);
    record.flags = run.input.bReset ? kFlagReset : 0;
    std::memcpy(record.padBits, run.input.padBits, sizeof(record.padBits));
    std::memcpy(record.systemBits, run.input.systemBits, sizeof(record.systemBits));
    Append(bytes, record);
  }
  block_.clear();
  blockFrames_ = 0;
  WriteChecked(std::move(bytes));
}

void CMovieWriter::WriteChecked(std::string bytes) {
  checksum_ = HashBytes(bytes.data(), bytes.size(), checksum_);
  Append(bytes, checksum_);
  try {
    file_->Write(bytes.data(), bytes.size());
    file_->Flush();
  } catch (const CHostError&) {
    file_.reset();  // it may write once more
    [[maybe_unused]] const int answer = truncate(path_.c_str(), static_cast<off_t>(wholeBytes_));
    throw;
  }
  wholeBytes_ += bytes.size();
}

}  // namespace vx
