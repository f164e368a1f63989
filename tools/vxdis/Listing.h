// A listing for people: one op a line, with address, word and text, and a label where a jump or
// branch of the listing leads.
#pragma once

#include <functional>
#include <string_view>

#include "tools/vxdis/Image.h"

namespace vx {

// Hands out the lines in order, each with its line end. Bytes behind the last whole word come as
// one ".byte" line.
void WriteListing(const SImage& image, const std::function<void(std::string_view)>& take);

}  // namespace vx
