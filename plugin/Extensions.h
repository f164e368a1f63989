// The file extensions that the component answers for, as three lists and their joined forms.
#pragma once

#include "base/Types.h"

namespace vx {

inline constexpr u32 kExtensionListCount = 3;
inline constexpr u32 kJoinedCharacters = 4096;  // of each joined string, its end included

// Empties the lists and all joined strings.
void ClearExtensions();
// Fills the lists and joins them. The component serves packs alone, which stand in the third list.
void BuildExtensions();
// A list with ';' between its entries; list 3 is all of them together.
const wchar_t* JoinedExtensions(u32 list);
// Membership without regard to case; false for null or empty.
bool MatchesExtension(u32 list, const wchar_t* extension);

}  // namespace vx
