// Wide text at the plug-in boundary and its UTF-8 form for the operating system. Independent of the
// process locale.
#pragma once

#include <string>
#include <string_view>

namespace vx {

// UTF-8 of a UTF-32 text. Values that are no Unicode scalar become U+FFFD.
std::string WideToUtf8(std::wstring_view text);

// Lower case of the ASCII letters; all other characters stay.
wchar_t FoldAscii(wchar_t c);

}  // namespace vx
