#include "plugin/Extensions.h"

#include <algorithm>
#include <cwchar>
#include <string_view>
#include <vector>

#include "base/WideText.h"

namespace vx {

namespace {

constexpr const wchar_t* kPackExtension = L".qilhard";
constexpr u32 kPackList = 2;

using ExtensionList = std::vector<std::wstring_view>;
ExtensionList g_lists[kExtensionListCount];
wchar_t g_joined[kExtensionListCount + 1][kJoinedCharacters];

// Builds "a;b;c", cut off where the buffer ends.
void Join(const ExtensionList& entries, wchar_t* target) {
  u32 length = 0;
  for (const std::wstring_view entry : entries) {
    if (length != 0 && length + 1 < kJoinedCharacters) target[length++] = L';';
    const size_t room = kJoinedCharacters - 1 - length;
    length += static_cast<u32>(entry.copy(target + length, room));
  }
  target[length] = L'\0';
}

}  // namespace

void ClearExtensions() {
  for (ExtensionList& list : g_lists) list.clear();
  for (wchar_t* joined : g_joined) joined[0] = L'\0';
}

void BuildExtensions() {
  g_lists[kPackList].emplace_back(kPackExtension);
  ExtensionList all;
  for (u32 list = 0; list < kExtensionListCount; ++list) {
    Join(g_lists[list], g_joined[list]);
    all.insert(all.end(), g_lists[list].begin(), g_lists[list].end());
  }
  Join(all, g_joined[kExtensionListCount]);
}

const wchar_t* JoinedExtensions(u32 list) { return g_joined[list]; }

bool MatchesExtension(u32 list, const wchar_t* extension) {
  if (extension == nullptr || *extension == L'\0') return false;
  const std::wstring_view wanted = extension;
  return std::any_of(g_lists[list].begin(), g_lists[list].end(), [&](std::wstring_view entry) {
    return std::equal(entry.begin(), entry.end(), wanted.begin(), wanted.end(),
                      [](wchar_t a, wchar_t b) { return FoldAscii(a) == FoldAscii(b); });
  });
}

}  // namespace vx
