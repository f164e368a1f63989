#include "host/lua/Overlay.h"

#include <algorithm>
#include <cmath>

#include "host/lua/Font.h"

namespace vx {

namespace {

constexpr u32 kOpaque = 255;

u32 Blend(u32 below, u32 above, u32 alpha) {
  u32 result = 0;
  for (u32 shift = 0; shift < 24; shift += 8) {
    const u32 b = below >> shift & 0xFF;
    const u32 a = above >> shift & 0xFF;
    result |= (b * (kOpaque - alpha) + a * alpha + kOpaque / 2) / kOpaque << shift;
  }
  return result;
}

// Cuts the line's parameter range by one border; false once nothing is left of it.
bool Clip(f64 direction, f64 distance, f64& from, f64& to) {
  if (direction == 0.0) return distance >= 0.0;
  const f64 at = distance / direction;
  if (direction < 0.0) {
    from = std::max(from, at);
  } else {
    to = std::min(to, at);
  }
  return from <= to;
}

}  // namespace

COverlay::COverlay(u32 width, u32 height)
    : width_(width), height_(height), layer_(std::size_t{width} * height) {}

void COverlay::Clear() {
  if (bDrawn_) std::fill(layer_.begin(), layer_.end(), 0u);
  bDrawn_ = false;
}

// What is drawn over something drawn blends with it as far as that can be told.
void COverlay::Pixel(i32 x, i32 y, u32 color, u32 alpha) {
  if (x < 0 || y < 0 || x >= Width() || y >= Height() || alpha == 0) return;
  u32& dot = layer_[static_cast<u32>(y) * width_ + static_cast<u32>(x)];
  const u32 before = dot >> 24;
  alpha = std::min(alpha, kOpaque);
  const u32 sum = alpha + before * (kOpaque - alpha) / kOpaque;
  const u32 mixed = before == 0 ? color & 0xFFFFFF : Blend(dot, color, alpha * kOpaque / sum);
  dot = mixed | sum << 24;
  bDrawn_ = true;
}

void COverlay::Line(i32 x1, i32 y1, i32 x2, i32 y2, u32 color, u32 alpha) {
  const f64 dx = static_cast<f64>(x2) - x1;
  const f64 dy = static_cast<f64>(y2) - y1;
  f64 from = 0.0;
  f64 to = 1.0;
  if (!Clip(-dx, x1, from, to) || !Clip(dx, width_ - 1.0 - x1, from, to) ||
      !Clip(-dy, y1, from, to) || !Clip(dy, height_ - 1.0 - y1, from, to)) {
    return;
  }
  const f64 length = std::max(std::abs(dx), std::abs(dy)) * (to - from);
  const i32 steps = static_cast<i32>(std::lround(length));
  for (i32 i = 0; i <= steps; ++i) {
    const f64 t = steps == 0 ? from : from + (to - from) * i / steps;
    Pixel(static_cast<i32>(std::lround(x1 + dx * t)), static_cast<i32>(std::lround(y1 + dy * t)),
          color, alpha);
  }
}

void COverlay::Box(i32 x, i32 y, i32 width, i32 height, u32 color, u32 alpha) {
  if (width <= 0 || height <= 0) return;
  Fill(x, y, width, 1, color, alpha);
  if (height > 1) Fill(x, y + height - 1, width, 1, color, alpha);
  if (height > 2) Fill(x, y + 1, 1, height - 2, color, alpha);
  if (height > 2 && width > 1) Fill(x + width - 1, y + 1, 1, height - 2, color, alpha);
}

void COverlay::Fill(i32 x, i32 y, i32 width, i32 height, u32 color, u32 alpha) {
  const i32 right = std::min(x + width, Width());
  const i32 bottom = std::min(y + height, Height());
  for (i32 row = std::max(y, 0); row < bottom; ++row) {
    for (i32 column = std::max(x, 0); column < right; ++column) Pixel(column, row, color, alpha);
  }
}

void COverlay::Text(i32 x, i32 y, std::string_view text, u32 color, u32 alpha) {
  constexpr i32 kCell = kFontCell;
  i32 column = x;
  for (const char character : text) {
    if (character == '\n') {
      column = x;
      y += kCell;
      continue;
    }
    if (y >= Height()) return;
    if (column > -kCell && column < Width() && y > -kCell) {
      for (u64 dots = FontGlyph(character), bit = 0; dots != 0; dots >>= 1, ++bit) {
        if ((dots & 1) == 0) continue;
        Pixel(column + static_cast<i32>(bit % kFontCell), y + static_cast<i32>(bit / kFontCell),
              color, alpha);
      }
    }
    column = std::min(column + kCell, Width());
  }
}

void COverlay::Picture(const u32* pixels, i32 x, i32 y, i32 width, i32 height) {
  if (width <= 0 || height <= 0) return;
  const i32 right = std::min(x + width, Width());
  const i32 bottom = std::min(y + height, Height());
  for (i32 row = std::max(y, 0); row < bottom; ++row) {
    const u64 line = static_cast<u64>(row - y) * height_ / static_cast<u64>(height);
    for (i32 column = std::max(x, 0); column < right; ++column) {
      const u64 dot = static_cast<u64>(column - x) * width_ / static_cast<u64>(width);
      Pixel(column, row, pixels[line * width_ + dot], kOpaque);
    }
  }
}

void COverlay::Compose(std::vector<u32>& picture) const {
  if (!bDrawn_ || picture.size() != layer_.size()) return;
  for (std::size_t i = 0; i < layer_.size(); ++i) {
    const u32 alpha = layer_[i] >> 24;
    if (alpha != 0) picture[i] = Blend(picture[i], layer_[i], alpha);
  }
}

}  // namespace vx
