// Text between the three worlds a host lives in: UTF-8 (arguments, file names, messages), UTF-32
// wide strings (the boundary) and printf formats. Conversion never asks the locale.
#pragma once

#include <string>
#include <string_view>

namespace vx {

// UTF-8 to one wchar_t per code point. Bytes that are not UTF-8 are kept, one by one, as U+DC80 to
// U+DCFF, so that ToUtf8 gives back exactly the bytes of any file name.
std::wstring ToWide(std::string_view utf8);

// Whether ToWide would meet no such byte.
bool IsUtf8(std::string_view text);

// The inverse of ToWide. Values beyond U+10FFFF become U+FFFD.
std::string ToUtf8(std::wstring_view wide);

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

}  // namespace vx
