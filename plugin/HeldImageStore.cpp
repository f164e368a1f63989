#include "plugin/HeldImageStore.h"

#include <algorithm>
#include <memory>

#include "machine/HostAccess.h"
#include "plugin/HeldImages.h"

namespace vx {

namespace {

std::unique_ptr<char[]> g_layout;
u32 g_layoutLength = 0;
std::unique_ptr<u8[]> g_scriptImage;
u32 g_scriptImageBytes = 0;

}  // namespace

void LoadHeldImages() {
  g_layout = std::make_unique<char[]>(kSettingsLayoutBytes + 1);
  HostInflate(g_layout.get(), kSettingsLayoutPacked, kSettingsLayoutBytes,
              kSettingsLayoutPackedBytes);
  g_layout[kSettingsLayoutBytes] = '\0';
  g_layoutLength = kSettingsLayoutBytes;
  g_scriptImage = std::make_unique<u8[]>(kScriptImageBytes);
  HostInflate(g_scriptImage.get(), kScriptImagePacked, kScriptImageBytes, kScriptImagePackedBytes);
  g_scriptImageBytes = kScriptImageBytes;
}

void FreeHeldImages() {
  g_layout.reset();
  g_layoutLength = 0;
  g_scriptImage.reset();
  g_scriptImageBytes = 0;
}

const char* SettingsLayout(u32* length) {
  if (length != nullptr) *length = g_layoutLength;
  return g_layout.get();
}

const u8* ScriptImage(u32* size) {
  if (size != nullptr) *size = g_scriptImageBytes;
  return g_scriptImage.get();
}

void ReplaceScriptImage(const u8* image, u32 size) {
  std::unique_ptr<u8[]> copy;
  if (image != nullptr) {
    copy = std::make_unique<u8[]>(std::max(size, 1u));
    std::copy_n(image, size, copy.get());
  }
  g_scriptImage = std::move(copy);
  g_scriptImageBytes = size;
}

}  // namespace vx
