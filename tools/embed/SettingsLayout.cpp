#include "tools/embed/SettingsLayout.h"

#include <cstddef>
#include <span>

namespace vx {
namespace {

enum class EItem { Spacer, DipDirectory, Preference };

struct SItem {
  EItem kind;
  const char* key;          // the setting's key
  const char* text;         // the host's string id for the label
  const char* description;  // the host's string id for the help line, or null
};

// clang-format off
constexpr SItem kDipItems[] = {
    // kind             key                  text                     description
    {EItem::Preference, "VX_DIPBlood",       "STR_VX_DIP_BLOOD",      nullptr},
    {EItem::Preference, "VX_DIPAttrAudio",   "STR_VX_DIP_ATTRAUDIO",  nullptr},
    {EItem::Preference, "VX_DIPEndMoves",    "STR_VX_DIP_ENDMOVES",   nullptr},
    {EItem::Preference, "VX_DIPVioWarn",     "STR_VX_DIP_VIOWARN",    nullptr},
    {EItem::Preference, "VX_DIPRedBlood",    "STR_VX_DIP_REDBLOOD",   nullptr},
    {EItem::Preference, "VX_DIPCoinage",     "STR_VX_DIP_COINAGE",    nullptr},
    {EItem::Preference, "VX_DIPCoinSet",     "STR_VX_DIP_COINSET",    nullptr},
    {EItem::Preference, "VX_DIPCountry",     "STR_VX_DIP_COUNTRY",    nullptr},
    {EItem::Preference, "VX_DIPCoinCount",   "STR_VX_DIP_COINCOUNT",  nullptr},
    {EItem::Preference, "VX_DIPTest",        "STR_VX_DIP_TEST",       nullptr},
};

constexpr SItem kScreenItems[] = {
    // kind               key                  text                     description
    {EItem::Spacer,       nullptr,             nullptr,                 nullptr},
    {EItem::DipDirectory, nullptr,             "STR_VX_DIPSWITCHES",    nullptr},
    {EItem::Preference,   "VX_HDFlush",        "STR_VX_HDFLUSH",        "STR_VX_HDFLUSH_D"},
    {EItem::Spacer,       nullptr,             nullptr,                 nullptr},
    {EItem::Preference,   "VX_MachTiming",     "STR_VX_TIMING",         "STR_VX_TIMING_D"},
    {EItem::Preference,   "VX_MIPSClock",      "STR_VX_MIPSCLOCK",      "STR_VX_MIPSCLOCK_D"},
    {EItem::Preference,   "VX_RandCycles",     "STR_VX_RANDSTART",      "STR_VX_RANDSTART_D"},
    {EItem::Preference,   "VX_ExtraReadTime",  "STR_VX_EXTRAREADTIME",  "STR_VX_EXTRAREADTIME_D"},
    {EItem::Spacer,       nullptr,             nullptr,                 nullptr},
    {EItem::Preference,   "VX_PreserveCache",  "STR_VX_PRESERVECACHE",  "STR_VX_PRESERVECACHE_D"},
};
// clang-format on

constexpr const char* kLineEnd = "\r\n";

std::string Indent(std::size_t level) { return std::string(level, ' '); }

std::string Quoted(const char* text) { return std::string("\"") + text + "\""; }

// Opens an object at a level, with its type as the first field and no line end behind it.
std::string OpenObject(std::size_t level, const char* itemType) {
  return Indent(level) + "{" + kLineEnd + Indent(level + 1) + "\"ItemType\": " + Quoted(itemType);
}

std::string NextField(std::size_t level, const char* name, const std::string& value) {
  return std::string(",") + kLineEnd + Indent(level + 1) + Quoted(name) + ": " + value;
}

std::string CloseObject(std::size_t level) { return kLineEnd + Indent(level) + "}"; }

std::string MakePreference(const SItem& item, std::size_t level) {
  std::string text = OpenObject(level, "UserPref") +
                     NextField(level, "PrefName", Quoted(item.key)) +
                     NextField(level, "Text", Quoted(item.text));
  if (item.description) text += NextField(level, "Description", Quoted(item.description));
  return text + CloseObject(level);
}

std::string MakeDirectory(const SItem& item, std::span<const SItem> children, std::size_t level) {
  std::string text = OpenObject(level, "Directory") + NextField(level, "Text", Quoted(item.text)) +
                     NextField(level, "ValueSpacing", "220.0") +
                     NextField(level, "OffsetChildren", "[260.0, 0.0]") +
                     NextField(level, "Children", "[") + kLineEnd;
  for (const SItem& child : children) {
    const bool bLast = &child == &children.back();
    text += MakePreference(child, level + 2) + (bLast ? "" : ",") + kLineEnd;
  }
  return text + Indent(level + 1) + "]" + CloseObject(level);
}

std::string MakeItem(const SItem& item, std::size_t level) {
  switch (item.kind) {
    case EItem::Spacer:
      return OpenObject(level, "Spacer") + NextField(level, "AdditionalHeight", "4.0") +
             CloseObject(level);
    case EItem::DipDirectory:
      return MakeDirectory(item, kDipItems, level);
    case EItem::Preference:
      break;
  }
  return MakePreference(item, level);
}

}  // namespace

std::string MakeSettingsLayout() {
  std::string text;
  for (const SItem& item : kScreenItems) text += MakeItem(item, 1) + "," + kLineEnd;
  return text;
}

}  // namespace vx
