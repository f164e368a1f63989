// What a script draws over the shown picture: a layer of its own, made anew for each frame and laid
// over a copy of the picture. The machine never sees it.
#pragma once

#include <string_view>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

// Colours are 0xRRGGBB, alpha is 0 to 255. Coordinates may lie anywhere; what is off the picture is
// cut off.
class COverlay {
 public:
  COverlay(u32 width, u32 height);

  void Clear();
  void Pixel(i32 x, i32 y, u32 color, u32 alpha);
  void Line(i32 x1, i32 y1, i32 x2, i32 y2, u32 color, u32 alpha);
  void Box(i32 x, i32 y, i32 width, i32 height, u32 color, u32 alpha);
  void Fill(i32 x, i32 y, i32 width, i32 height, u32 color, u32 alpha);
  void Text(i32 x, i32 y, std::string_view text, u32 color, u32 alpha);
  // A picture of the board's size, scaled into a rectangle.
  void Picture(const u32* pixels, i32 x, i32 y, i32 width, i32 height);

  // Lays what was drawn over a picture of this size, in place.
  void Compose(std::vector<u32>& picture) const;

  i32 Width() const { return static_cast<i32>(width_); }
  i32 Height() const { return static_cast<i32>(height_); }

 private:
  u32 width_, height_;
  std::vector<u32> layer_;  // alpha in the top byte; 0: nothing
  bool bDrawn_ = false;
};

}  // namespace vx
