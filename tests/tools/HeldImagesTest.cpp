// The arrays that the build generates, as the component links them.
#include "plugin/HeldImages.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tools/embed/SettingsLayout.h"

namespace vx::test {
namespace {

std::vector<u8> Inflated(const u8* packed, u32 packedBytes, u32 bytes) {
  std::vector<u8> plain(bytes + 1);
  uLongf plainBytes = plain.size();
  EXPECT_EQ(uncompress(plain.data(), &plainBytes, packed, packedBytes), Z_OK);
  plain.resize(plainBytes);
  return plain;
}

TEST(HeldImages, HoldTheSettingsLayoutPacked) {
  const std::vector<u8> plain =
      Inflated(kSettingsLayoutPacked, kSettingsLayoutPackedBytes, kSettingsLayoutBytes);
  EXPECT_EQ(std::string(plain.begin(), plain.end()), MakeSettingsLayout());
}

TEST(HeldImages, HoldAScriptImageOfItsMarkAndZeros) {
  std::vector<u8> plain = Inflated(kScriptImagePacked, kScriptImagePackedBytes, kScriptImageBytes);
  ASSERT_EQ(plain.size(), 33792u);
  EXPECT_EQ((std::vector<u8>(plain.begin(), plain.begin() + 4)),
            (std::vector<u8>{0x93, 0x81, 0xD3, 0xC0}));
  EXPECT_TRUE(std::all_of(plain.begin() + 4, plain.end(), [](u8 byte) { return byte == 0; }));
}

}  // namespace
}  // namespace vx::test
