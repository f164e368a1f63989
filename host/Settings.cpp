#include "host/Settings.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

#include "host/HostError.h"
#include "host/Text.h"

namespace vx {

namespace {

struct SSwitchWord {
  const char* text;
  u32 value;
};
// clang-format off
constexpr SSwitchWord kSwitchWords[] = {
  { "on",  1 }, { "true",  1 }, { "yes", 1 },
  { "off", 0 }, { "false", 0 }, { "no",  0 },
};
// clang-format on

u32 ReadValue(const SSettingRecord& record, const void* value) {
  if (record.valueBytes == 1) return *static_cast<const u8*>(value);
  u32 number = 0;
  std::memcpy(&number, value, sizeof(number));
  return number;
}

void WriteCurrent(const SSettingRecord& record, u32 number) {
  if (record.valueBytes == 1) {
    *static_cast<u8*>(record.current) = static_cast<u8>(number);
  } else {
    std::memcpy(record.current, &number, sizeof(number));
  }
}

std::string NameOf(const SSettingRecord& record, u32 number) {
  return record.names != nullptr && number < record.nameCount ? ToUtf8(record.names[number]) : "";
}

std::optional<u32> ParseNumber(const std::string& text) {
  u32 number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || error != std::errc{} || stop != end) return std::nullopt;
  return number;
}

std::optional<u32> ParseValue(const SSettingRecord& record, const std::string& text) {
  if (const auto number = ParseNumber(text)) return number;
  for (u32 i = 0; record.names != nullptr && i < record.nameCount; ++i) {
    if (ToUtf8(record.names[i]) == text) return i;
  }
  if (record.kind == ESettingKind::Boolean) {
    const auto word = std::ranges::find_if(
        kSwitchWords, [&](const SSwitchWord& candidate) { return text == candidate.text; });
    if (word != std::end(kSwitchWords)) return word->value;
  }
  return std::nullopt;
}

std::string Choices(const SSettingRecord& record) {
  std::string text =
      Format("%u to %u", ReadValue(record, record.minimum), ReadValue(record, record.maximum));
  const u32 step = ReadValue(record, record.step);
  if (step > 1) text += Format(" in steps of %u", step);
  for (u32 i = 0; record.names != nullptr && i < record.nameCount; ++i) {
    text += Format("%s%u is \"%s\"", i == 0 ? " (" : ", ", i, NameOf(record, i).c_str());
  }
  if (record.names != nullptr && record.nameCount != 0) text += ")";
  return text;
}

}  // namespace

CSettings::CSettings(const SSettingList* list) {
  if (list == nullptr || list->begin == nullptr) return;
  begin_ = list->begin;
  end_ = list->end;
}

const SSettingRecord* CSettings::Find(const std::string& key) const {
  return std::find_if(begin_, end_,
                      [&](const SSettingRecord& record) { return key == record.key; });
}

void CSettings::Set(const std::string& assignment, const std::string& origin) {
  const std::size_t equals = assignment.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw CHostError(EExitCode::Usage, origin + "a setting is given as KEY=VALUE");
  }
  const std::string key = assignment.substr(0, equals);
  const SSettingRecord* record = Find(key);
  if (record == end_) {
    throw CHostError(EExitCode::Usage,
                     origin + "there is no setting " + key + "; --list-settings shows them all");
  }
  const std::optional<u32> value = ParseValue(*record, assignment.substr(equals + 1));
  const u32 minimum = ReadValue(*record, record->minimum);
  const u32 step = std::max(1u, ReadValue(*record, record->step));
  if (!value || *value < minimum || *value > ReadValue(*record, record->maximum) ||
      (*value - minimum) % step != 0) {
    throw CHostError(EExitCode::Usage, origin + key + " takes " + Choices(*record));
  }
  WriteCurrent(*record, *value);
}

std::vector<std::string> CSettings::Assignments() const {
  std::vector<std::string> assignments;
  for (const SSettingRecord* record = begin_; record != end_; ++record) {
    assignments.push_back(Format("%s=%u", record->key, ReadValue(*record, record->current)));
  }
  return assignments;
}

std::string CSettings::FileText() const {
  std::string text = "# Settings of vxrun: KEY = VALUE\n";
  for (const SSettingRecord* record = begin_; record != end_; ++record) {
    text += Format("\n# %s%s; default %u\n%s = %u\n",
                   record->kind == ESettingKind::Boolean ? "switch, " : "",
                   Choices(*record).c_str(), ReadValue(*record, record->defaultValue), record->key,
                   ReadValue(*record, record->current));
  }
  return text;
}

std::string CSettings::Describe() const {
  std::string text;
  for (const SSettingRecord* record = begin_; record != end_; ++record) {
    text +=
        Format("%-20s = %u   (default %u; %s%s)\n", record->key,
               ReadValue(*record, record->current), ReadValue(*record, record->defaultValue),
               record->kind == ESettingKind::Boolean ? "switch, " : "", Choices(*record).c_str());
  }
  return text;
}

}  // namespace vx
