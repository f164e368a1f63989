// The speed report as text and as a picture.
#pragma once

#include <string>

#include "bench/speed/Measurement.h"

namespace vx::bench {

// A table a kernel a row, then the ratios beside what they have to reach.
std::string TextOf(const SFigures& figures);
// The same rates as bars on a logarithmic scale, as SVG.
std::string PictureOf(const SFigures& figures);

}  // namespace vx::bench
