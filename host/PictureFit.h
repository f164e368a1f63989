// Where the machine's picture goes in a window of any size.
#pragma once

#include <algorithm>

#include "plugin/Quillon.h"

namespace vx {

struct SPictureRect {
  i32 x, y, width, height;
};

// The largest whole multiple of the picture that fits, centred; the picture's pixels are square, so
// its 4:3 stays 4:3. A window smaller than the picture shows it shrunk with its shape kept.
inline SPictureRect FitPicture(i32 windowWidth, i32 windowHeight, i32 width, i32 height) {
  if (windowWidth <= 0 || windowHeight <= 0 || width <= 0 || height <= 0) return {0, 0, 0, 0};
  SPictureRect rect{0, 0, 0, 0};
  if (const i32 scale = std::min(windowWidth / width, windowHeight / height); scale >= 1) {
    rect.width = width * scale;
    rect.height = height * scale;
  } else if (i64{windowWidth} * height <= i64{windowHeight} * width) {
    rect.width = windowWidth;
    rect.height = std::max(1, static_cast<i32>(i64{windowWidth} * height / width));
  } else {
    rect.height = windowHeight;
    rect.width = std::max(1, static_cast<i32>(i64{windowHeight} * width / height));
  }
  rect.x = (windowWidth - rect.width) / 2;
  rect.y = (windowHeight - rect.height) / 2;
  return rect;
}

}  // namespace vx
