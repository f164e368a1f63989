#include "host/MovieText.h"

#include <charconv>

#include "host/TextLines.h"

namespace vx {

namespace {

constexpr std::string_view kFirstLine = "vxmovie text 1";
constexpr u32 kMaxFrame = 1'000'000'000;

template <typename T>
std::optional<T> ParseNumber(std::string_view text, int base) {
  T number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  if (text.empty() || error != std::errc{} || stop != end) return std::nullopt;
  return number;
}

class CTextParser {
 public:
  CTextParser(const std::string& path, const std::vector<SControl>& controls)
      : path_(path), controls_(controls) {
    movie_.path = path;
  }

  void Take(const STextLine& line) {
    line_ = line.number;
    const std::string& first = line.words[0];
    if (bEnded_) Fail("nothing may follow the end");
    if (first == "pack" || first == "set") {
      if (at_ != 0) Fail(first + " stands before the first frame");
      if (line.words.size() != 2) Fail(first + " is followed by one word");
      if (first == "pack") return TakePack(line.words[1]);
      movie_.settings.push_back({line.words[1], LinePlace(path_, line_)});
      return;
    }
    if (first == "end") {
      if (line.words.size() != 2) Fail("end is followed by the number of the last frame");
      const u32 frame = ParseFrame(line.words[1]);
      if (frame < at_) Fail("the end lies before the line above");
      HoldUntil(frame + 1);
      bEnded_ = true;
      return;
    }
    const u32 frame = ParseFrame(first);
    if (frame <= at_) Fail("the frame does not lie behind the one of the line above");
    if (line.words.size() < 2) Fail("the frame is not followed by what is held from there on");
    HoldUntil(frame);
    for (std::size_t i = 1; i < line.words.size(); ++i) TakeChange(line.words[i]);
  }

  SMovie Finish() {
    if (!bEnded_ && at_ != 0) HoldUntil(at_ + 1);
    if (movie_.frames == 0) Fail("the movie has no frames");
    return std::move(movie_);
  }

 private:
  [[noreturn]] void Fail(const std::string& sentence) const { FailLine(path_, line_, sentence); }

  void TakePack(const std::string& word) {
    const auto hash =
        word.starts_with("0x") ? ParseNumber<u64>(word.substr(2), 16) : std::optional<u64>();
    if (!hash) Fail(word + " is no hash of a pack; it reads 0x and digits");
    movie_.packHash = hash;
  }

  u32 ParseFrame(const std::string& word) const {
    const bool bOnward = word.starts_with('+');
    const auto number = ParseNumber<u32>(std::string_view(word).substr(bOnward ? 1 : 0), 10);
    if (!number) Fail(word + " is no frame; a line reads FRAME or +FRAMES, then what is held");
    const u64 frame = u64{*number} + (bOnward ? at_ : 0);
    if (frame < 1 || frame > kMaxFrame) Fail("frames go from 1 to 1000000000");
    return static_cast<u32>(frame);
  }

  // Ends the frames before `frame` with what has been held so far. A reset lasts one frame.
  void HoldUntil(u32 frame) {
    u32 frames = frame - static_cast<u32>(movie_.frames) - 1;
    if (held_.bReset && frames != 0) {
      movie_.runs.push_back({held_, 1});
      held_.bReset = false;
      --frames;
    }
    if (frames != 0) movie_.runs.push_back({held_, frames});
    movie_.frames = frame - 1;
    at_ = frame;
  }

  // "P1:UP,B1", "SYS:COIN1", "P2:-" or "RESET".
  void TakeChange(const std::string& word) {
    if (word == "RESET") {
      held_.bReset = true;
      return;
    }
    const std::size_t colon = word.find(':');
    const std::string prefix = word.substr(0, colon == std::string::npos ? 0 : colon + 1);
    if (!LetGo(prefix)) Fail(word + " does not begin with P1:, P2: or SYS:, and is not RESET");
    std::string_view names = std::string_view(word).substr(prefix.size());
    if (names == "-") return;
    for (;;) {
      const std::size_t comma = std::min(names.find(','), names.size());
      Hold(prefix + std::string(names.substr(0, comma)));
      if (comma == names.size()) return;
      names.remove_prefix(comma + 1);
    }
  }

  // Lets go of all controls with this prefix; false if there is no such prefix.
  bool LetGo(const std::string& prefix) {
    bool bKnown = false;
    for (const SControl& control : controls_) {
      if (control.kind == EControlKind::Host || !ControlName(control).starts_with(prefix)) continue;
      if (prefix.empty()) continue;
      bKnown = true;
      WordOf(control) &= ~control.bit;
    }
    return bKnown;
  }

  void Hold(const std::string& name) {
    const std::optional<SControl> control = FindControl(name, controls_);
    if (!control) Fail("there is no control " + name + "; --list-controls shows them all");
    WordOf(*control) |= control->bit;
  }

  u32& WordOf(const SControl& control) {
    u32* words = control.kind == EControlKind::Pad ? held_.padBits : held_.systemBits;
    return words[control.player];
  }

  const std::string& path_;
  const std::vector<SControl>& controls_;
  SMovie movie_;
  SMovieInput held_;
  u32 line_ = 1;
  u32 at_ = 0;  // frame of the line above, 0 before the first
  bool bEnded_ = false;
};

}  // namespace

bool IsMovieText(std::string_view text) {
  if (!text.starts_with(kFirstLine)) return false;
  text.remove_prefix(kFirstLine.size());
  return text.empty() || text[0] == '\n' || text.starts_with("\r\n");
}

SMovie ParseMovieText(std::string_view text, const std::string& path,
                      const std::vector<SControl>& controls) {
  CTextParser parser(path, controls);
  const std::vector<STextLine> lines = SplitLines(text, path);
  for (std::size_t i = 1; i < lines.size(); ++i) parser.Take(lines[i]);
  return parser.Finish();
}

}  // namespace vx
