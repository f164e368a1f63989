#include "host/ComponentLog.h"

#include <locale.h>
#include <clocale>
#include <exception>

namespace vx {

namespace {

// Messages may hold wide file names (%ls). The plain C locale refuses letters beyond ASCII and the
// whole message would be lost, so this thread formats under UTF-8 for the moment.
class CUtf8Formatting {
 public:
  CUtf8Formatting() {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    previous_ = utf8 == nullptr ? nullptr : uselocale(utf8);
  }
  ~CUtf8Formatting() {
    if (previous_ != nullptr) uselocale(previous_);
  }

 private:
  locale_t previous_;
};

const char* LevelWord(i32 level) {
  switch (static_cast<ELogLevel>(level)) {
    case ELogLevel::Information:
      return "information";
    case ELogLevel::Warning:
      return "warning";
    default:
      return "error";
  }
}

}  // namespace

void CComponentLog::SetVerbose(bool bVerbose) {
  const std::lock_guard lock(mutex_);
  bVerbose_ = bVerbose;
}

void CComponentLog::Write(i32 level, const char* format, va_list arguments) noexcept {
  if (format == nullptr) return;
  char text[1024];
  int length = 0;
  {
    const CUtf8Formatting utf8;
    length = std::vsnprintf(text, sizeof(text), format, arguments);
  }
  const char* message = length < 0 ? format : text;  // the raw format beats silence
  const bool bCut = length >= static_cast<int>(sizeof(text));

  const std::lock_guard lock(mutex_);
  if (!bVerbose_) {
    if (level <= static_cast<i32>(ELogLevel::Information)) return;
    try {
      if (++counts_[format] > kShownOfEach) return;
    } catch (const std::exception&) {
      return;
    }
  }
  std::fprintf(out_, "component %s: %s%s", LevelWord(level), message, bCut ? "...\n" : "");
}

void CComponentLog::Finish() noexcept {
  const std::lock_guard lock(mutex_);
  u64 hidden = 0;
  for (const auto& [format, count] : counts_) {
    if (count > kShownOfEach) hidden += count - kShownOfEach;
  }
  if (hidden != 0) {
    std::fprintf(out_, "component: %llu more messages like these; --verbose shows them all\n",
                 static_cast<unsigned long long>(hidden));
  }
  counts_.clear();
}

}  // namespace vx
