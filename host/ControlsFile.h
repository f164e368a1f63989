// The controls file: which keys and controller parts work which control, one control a line.
//
//   P1:UP      = key:Up pad1:dpup pad1:-lefty
//   SYS:COIN1  = key:5
//   HOST:MUTE  =
//
// A control that has a line is worked by what that line names and nothing else; one without a line
// keeps what it had. A blank in the name of a key is written "_".
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/Bindings.h"

namespace vx {

// Whether the computer knows a key or a controller part of that name.
using FSourceIsKnown = std::function<bool(const SSource&)>;

// Changes `bindings` as the file says. Throws CHostError (FileUnreadable, or Usage with the number
// of the line) and leaves them as they were.
void ReadControlsFile(std::vector<SBinding>& bindings, const std::string& path,
                      const std::vector<SControl>& controls, const FSourceIsKnown& isKnown);

// All controls and what works them, as a controls file.
std::string DescribeControls(const std::vector<SBinding>& bindings,
                             const std::vector<SControl>& controls);

}  // namespace vx
