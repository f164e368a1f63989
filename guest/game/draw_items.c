// All that stands on the lake, gathered in any order and drawn from far to near.
#include "guest/game/draw_items.h"

enum { kMostItems = 420, kDepths = 128 };

typedef enum EItem { kItemModel, kItemSprite, kItemCoin, kItemDot, kItemBolt, kItemShadow } EItem;
typedef struct SItem {
  uint32_t type;
  int32_t next;
  const uint16_t* pixels;
  uint32_t value;  // colour, view, player, or model and flash
  uint32_t flash;
  float x, y, z, size;
  SPose pose;
} SItem;

static SItem gItems[kMostItems];
static uint32_t gItemCount;
static int32_t gDepths[kDepths];

bool ProjectPoint(float x, float y, float z, int32_t* column, int32_t* line, float* scale) {
  if (z < 1.2f) return false;
  const float s = kFocal / z;
  *scale = s;
  *column = kWidth / 2 + ToInteger((x - gLake.eyeX) * s);
  *line = kHorizonLine + ToInteger((kEyeY - y) * s);
  return true;
}

static SItem* AddItem(uint32_t type, float z) {
  if (gItemCount == kMostItems || z < 1.2f || z > 63.0f) return 0;
  SItem* item = &gItems[gItemCount];
  const uint32_t depth = (uint32_t)ToInteger(z * 2.0f);
  item->type = type;
  item->next = gDepths[depth];
  item->z = z;
  gDepths[depth] = (int32_t)gItemCount++;
  return item;
}

void StandUpright(SPose* pose, float x, float y, float z) {
  pose->right.x = 1.0f;
  pose->right.y = pose->right.z = 0.0f;
  pose->up.y = 1.0f;
  pose->up.x = pose->up.z = 0.0f;
  pose->ahead.z = 1.0f;
  pose->ahead.x = pose->ahead.y = 0.0f;
  pose->place.x = x;
  pose->place.y = y;
  pose->place.z = z;
}

void QueueModel(uint32_t model, const SPose* pose, uint32_t flash) {
  SItem* item = AddItem(kItemModel, pose->place.z);
  if (item == 0) return;
  item->value = model;
  item->flash = flash;
  item->pose = *pose;
  item->pose.place.x -= gLake.eyeX;
  item->pose.place.y -= kEyeY;
}

static void QueueFlat(SItem* item, float x, float y, float size) {
  item->x = x;
  item->y = y;
  item->size = size;
}

void QueueSprite(const uint16_t* pixels, float x, float y, float z, float size) {
  SItem* item = AddItem(kItemSprite, z);
  if (item == 0) return;
  item->pixels = pixels;
  QueueFlat(item, x, y, size);
}
void QueueCoin(uint32_t view, float x, float y, float z, float size) {
  SItem* item = AddItem(kItemCoin, z);
  if (item == 0) return;
  item->value = view;
  QueueFlat(item, x, y, size);
}
void QueueDot(uint16_t color, float x, float y, float z, float size) {
  SItem* item = AddItem(kItemDot, z);
  if (item == 0) return;
  item->value = color;
  QueueFlat(item, x, y, size);
}
void QueueBolt(float x, float y, float z, uint32_t player) {
  SItem* item = AddItem(kItemBolt, z);
  if (item == 0) return;
  item->value = player;
  QueueFlat(item, x, y, 1.0f);
}
void QueueShadow(float x, float z, float halfWidth) {
  SItem* item = AddItem(kItemShadow, z + 0.02f);
  if (item == 0) return;
  QueueFlat(item, x, 0.0f, halfWidth);
}

// --- single items -------------------------------------------------------------------------------

static void DrawShrunk(uint16_t* page, const uint16_t* pixels, int32_t left, int32_t top,
                       int32_t size) {
  const int32_t step = (kSpriteSize << 16) / size;
  const int32_t first = left < 0 ? 0 : left;
  const int32_t end = left + size > kWidth ? kWidth : left + size;
  const int32_t foot = top + size > kHeight ? kHeight : top + size;
  const int32_t u0 = step / 2 + (first - left) * step;
  for (int32_t y = top < 0 ? 0 : top; y < foot; y++) {
    const int16_t* row =
        (const int16_t*)pixels + ((step / 2 + (y - top) * step) >> 16) * kSpriteSize;
    uint16_t* target = LineOf(page, y) + first;
    const uint16_t* last = LineOf(page, y) + end;
    for (int32_t u = u0; target < last; u += step, target++) {
      const int32_t pixel = row[u >> 16];
      if (pixel < 0) *target = (uint16_t)pixel;
    }
  }
}

void DrawScaled(uint16_t* page, const uint16_t* pixels, int32_t centerX, int32_t centerY,
                int32_t size) {
  enum { kLargest = 110 };  // larger ones would take too much of a frame
  if (size < 1) return;
  if (size > kLargest) size = kLargest;
  const int32_t left = centerX - size / 2;
  const int32_t top = centerY - size / 2;
  if (size < kSpriteSize) {
    DrawShrunk(page, pixels, left, top, size);
    return;
  }
  // Columns where each pixel of the picture begins.
  int32_t edges[kSpriteSize + 1];
  for (int32_t i = 0; i <= kSpriteSize; i++) {
    const int32_t x = left + i * size / kSpriteSize;
    edges[i] = x < 0 ? 0 : x > kWidth ? kWidth : x;
  }
  const int32_t step = (kSpriteSize << 16) / size;
  int32_t v = step / 2;
  for (int32_t y = top; y < top + size; y++, v += step) {
    if (y < 0 || y >= kHeight) continue;
    const uint16_t* row = pixels + (v >> 16) * kSpriteSize;
    uint16_t* line = LineOf(page, y);
    for (uint32_t i = 0; i < kSpriteSize; i++) {
      const uint32_t pixel = row[i];
      if (!(pixel & 0x8000)) continue;
      for (int32_t x = edges[i]; x < edges[i + 1]; x++) line[x] = (uint16_t)pixel;
    }
  }
}

void DrawLozenge(uint16_t* page, float x, float z, float halfWidth, float halfDepth,
                 const uint64_t* four) {
  const float s = kFocal / z;
  const float wide = halfWidth * s;
  const int32_t middle = kWidth / 2 + ToInteger((x - gLake.eyeX) * s);
  const int32_t center = ToFixed((float)kHorizonLine + kEyeY * s);
  // Depth shrinks with the square of the distance.
  const int32_t tall = ToFixed(halfDepth * kEyeY * s * s * (1.0f / kFocal)) + 0x4000;
  const int32_t reach = ToInteger(wide + 0.5f);
  if (middle < -reach || middle > kWidth + reach) return;
  int32_t top = (center - tall) >> 16;
  int32_t foot = (center + tall) >> 16;
  if (foot >= kHeight) foot = kHeight - 1;
  const int32_t slope = reach * 256 / ((tall >> 8) + 1);  // pixels for one line's 256ths, in 256ths
  for (; top <= foot; top++) {
    const int32_t off = (top << 16) + 0x8000 - center;
    const int32_t half = reach - ((off < 0 ? -off : off) >> 8) * slope / 256;
    if (half < 1) continue;
    int32_t from = middle - half < 0 ? 0 : middle - half;
    const int32_t to = middle + half > kWidth ? kWidth : middle + half;
    uint16_t* line = LineOf(page, top);
    if (four == 0) {
      for (; from < to; from++)
        line[from] = (uint16_t)((line[from] >> 1 & 0x3DEF) + (line[from] >> 3 & 0x0C63));
      continue;
    }
    const uint64_t pattern = four[top & 3];
    for (; from < to && (from & 3) != 0; from++)
      line[from] = (uint16_t)(pattern >> (from & 1) * 16);
    for (; from + 4 <= to; from += 4) *(uint64_t*)(line + from) = pattern;
    for (; from < to; from++) line[from] = (uint16_t)(pattern >> (from & 1) * 16);
  }
}

static void DrawDot(uint16_t* page, int32_t x, int32_t y, int32_t size, uint16_t color) {
  if (size < 1) size = 1;
  if (size > 8) size = 8;
  for (int32_t row = y - size / 2; row < y - size / 2 + size; row++) {
    if (row < 0 || row >= kHeight) continue;
    for (int32_t column = x - size / 2; column < x - size / 2 + size; column++) {
      if (column >= 0 && column < kWidth) LineOf(page, row)[column] = color;
    }
  }
}

static void DrawBoltItem(uint16_t* page, const SItem* item) {
  static const uint8_t kTones[kPlayers][3] = {{255, 196, 88}, {120, 220, 255}};
  const float tail = item->z, head = item->z + 1.3f;
  const float a = kFocal / tail, b = kFocal / head;
  const float center = (float)(kWidth / 2), horizon = (float)kHorizonLine;
  const float x = item->x - gLake.eyeX, down = kEyeY - item->y;
  const uint8_t* tone = kTones[item->value];
  const SPoint outer[4] = {{center + (x - 0.09f) * a, horizon + down * a},
                           {center + (x - 0.02f) * b, horizon + down * b},
                           {center + (x + 0.02f) * b, horizon + down * b},
                           {center + (x + 0.09f) * a, horizon + down * a}};
  FillPolygon(page, outer, 4, BlendWide(MakeColor(tone[0], tone[1], tone[2]), 0, 0));
  DrawDot(page, kWidth / 2 + ToInteger(x * a), kHorizonLine + ToInteger(down * a),
          ToInteger(a * 0.1f), RGB(31, 31, 30));
}

static void DrawItem(uint16_t* page, const SView* view, const SItem* item) {
  int32_t x, y;
  float scale;
  switch (item->type) {
    case kItemModel: {
      SView lit = *view;
      if (item->flash != 0) {
        // Hit: pale for a few frames.
        lit.haze = MakeColor(255, 255, 255);
        lit.hazeFar = item->pose.place.z * 1.5f;
      }
      DrawModel(page, &lit, gModels[item->value], &item->pose);
      return;
    }
    case kItemBolt:
      DrawBoltItem(page, item);
      return;
    case kItemShadow:
      DrawLozenge(page, item->x, item->z, item->size, item->size * 0.6f, 0);
      return;
    default:
      break;
  }
  if (!ProjectPoint(item->x, item->y, item->z, &x, &y, &scale)) return;
  const int32_t size = ToInteger(item->size * scale + 0.5f);
  if (item->type == kItemDot) {
    DrawDot(page, x, y, size, (uint16_t)item->value);
  } else if (item->type == kItemCoin) {
    DrawScaled(page, MapCoin(item->value), x, y, size);
  } else {
    DrawScaled(page, item->pixels, x, y, size);
  }
}

void BeginItems(void) {
  gItemCount = 0;
  for (uint32_t i = 0; i < kDepths; i++) gDepths[i] = -1;
}

void DrawItems(uint16_t* page, const SView* view) {
  // Shadows lie under everything at their distance and nearer.
  for (uint32_t pass = 0; pass < 2; pass++) {
    for (uint32_t depth = kDepths; depth-- > 0;) {
      for (int32_t i = gDepths[depth]; i >= 0; i = gItems[i].next) {
        if ((gItems[i].type == kItemShadow) == (pass == 0)) DrawItem(page, view, &gItems[i]);
      }
    }
  }
}
