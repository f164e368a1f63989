// The manual of all functions that a script has, out of the tables that bind them.
#pragma once

#include <string>

namespace vx {

// The text of MANUAL.md.
std::string ScriptManual();

}  // namespace vx
