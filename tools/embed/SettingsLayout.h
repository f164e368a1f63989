// The settings screen of the component, as the text that a host places in its own screen
// description: a run of JSON objects, each followed by a comma, with CR LF line ends and without
// enclosing brackets.
#pragma once

#include <string>

namespace vx {

// The whole text, the same on every call.
std::string MakeSettingsLayout();

}  // namespace vx
