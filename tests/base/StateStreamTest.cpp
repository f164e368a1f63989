#include "base/StateStream.h"

#include <gtest/gtest.h>

namespace vx {

namespace {

TEST(StateStream, WritesAndReadsInOrder) {
  u8 buffer[16] = {};
  SStateStream stream{buffer, sizeof(buffer)};
  WriteValue(stream, u32{0x11223344});
  WriteValue(stream, u8{0x55});
  WriteBytes(stream, "abc", 3);
  EXPECT_EQ(stream.position, 8u);
  EXPECT_EQ(buffer[0], 0x44);
  EXPECT_EQ(buffer[4], 0x55);

  stream.position = 0;
  u32 word = 0;
  u8 byte = 0;
  char text[3];
  EXPECT_TRUE(ReadValue(stream, word));
  EXPECT_TRUE(ReadValue(stream, byte));
  EXPECT_TRUE(ReadBytes(stream, text, 3));
  EXPECT_EQ(word, 0x11223344u);
  EXPECT_EQ(byte, 0x55);
  EXPECT_EQ(std::memcmp(text, "abc", 3), 0);
}

TEST(StateStream, WriteThatDoesNotFitStoresNothingAndMovesOn) {
  u8 buffer[8] = {};
  SStateStream stream{buffer, 6};
  WriteValue(stream, u32{0xFFFFFFFF});
  WriteValue(stream, u32{0xFFFFFFFF});
  EXPECT_EQ(stream.position, 8u);
  EXPECT_EQ(buffer[4], 0);
  EXPECT_EQ(buffer[7], 0);
  WriteValue(stream, u8{1});
  EXPECT_EQ(stream.position, 9u) << "nothing fits any more";
}

TEST(StateStream, WriteToTheLastByteFits) {
  u8 buffer[4] = {};
  SStateStream stream{buffer, 4};
  WriteValue(stream, u32{0x01020304});
  EXPECT_EQ(buffer[3], 1);
}

TEST(StateStream, EmptyStreamMeasures) {
  SStateStream stream;
  WriteValue(stream, u64{1});
  WriteBytes(stream, "xyz", 3);
  WriteBytes(stream, nullptr, 0);
  EXPECT_EQ(stream.position, 11u);
}

TEST(StateStream, ReadThatDoesNotFitLeavesTargetAndPosition) {
  u8 buffer[6] = {1, 2, 3, 4, 5, 6};
  SStateStream stream{buffer, sizeof(buffer)};
  u32 first = 0, second = 0xAAAAAAAA;
  EXPECT_TRUE(ReadValue(stream, first));
  EXPECT_FALSE(ReadValue(stream, second));
  EXPECT_EQ(second, 0xAAAAAAAAu);
  EXPECT_EQ(stream.position, 4u);
  u16 rest = 0;
  EXPECT_TRUE(ReadValue(stream, rest)) << "a smaller one still fits";
  EXPECT_EQ(rest, 0x0605);
}

TEST(StateStream, SizesNearTheLimitDoNotWrap) {
  u8 buffer[4] = {};
  SStateStream stream{buffer, 4, 4};
  u8 target = 9;
  const volatile u32 huge = 0xFFFFFFFF;  // unknown to the compiler, which would warn
  const volatile u32 four = 4;
  EXPECT_FALSE(ReadBytes(stream, &target, huge));
  EXPECT_EQ(stream.position, 4u);
  stream.position = 0xFFFFFFFE;
  EXPECT_FALSE(ReadBytes(stream, &target, four));
  EXPECT_EQ(target, 9);
}

TEST(StateStream, WriteThatWrapsThePositionStoresNothing) {
  u8 buffer[4] = {};
  SStateStream stream{buffer, 4, 0xFFFFFFFF};
  WriteValue(stream, u16{0x0101});
  EXPECT_EQ(buffer[0], 0);
  EXPECT_EQ(buffer[1], 0);
}

}  // namespace

}  // namespace vx
