// The picture that the host gets of the guest's frame store.
#include <algorithm>
#include <cstring>

#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

using namespace mips;

constexpr u32 kPages[] = {0x30000, 0x58000};
constexpr u32 kControlA = 0x10000080;
constexpr u32 kRed = 0x00FF0000, kGreen = 0x0000FF00;

struct VideoGuestTest : CBoundaryTest {
  void FillPage(u32 page, u16 pixel) {
    for (u32 i = 0; i < 320 * 256; ++i) SetPixel(page, i, pixel);
  }
  void SetPixel(u32 page, u32 index, u16 pixel) {
    std::memcpy(Memory() + kPages[page] + 2 * index, &pixel, sizeof(pixel));
  }
  void ColourPages() {
    FillPage(0, 0x7C00);
    FillPage(1, 0x03E0);
  }
  bool IsPicture(u32 pixel) const {
    return std::all_of(host.picture.begin(), host.picture.end(),
                       [pixel](u32 p) { return p == pixel; });
  }
};

TEST_F(VideoGuestTest, ChannelsWidenSoThatFullStaysFullAndBlackStaysBlack) {
  Boot(CGuestCode().Rest());
  constexpr u32 kPixels[][2] = {{0x0000, 0x000000}, {0x7FFF, 0xFFFFFF}, {0xFFFF, 0xFFFFFF},
                                {0x8000, 0x000000}, {0x0421, 0x080808}, {0x7C00, 0xFF0000},
                                {0x03E0, 0x00FF00}, {0x001F, 0x0000FF}, {0x4210, 0x848484}};
  for (u32 i = 0; i < std::size(kPixels); ++i) SetPixel(0, i, static_cast<u16>(kPixels[i][0]));
  RunFrames(1);
  for (u32 i = 0; i < std::size(kPixels); ++i) {
    EXPECT_EQ(host.picture[i], kPixels[i][1]) << std::hex << kPixels[i][0];
  }
}

TEST_F(VideoGuestTest, LinesAre320PixelsApartOnBothSides) {
  Boot(CGuestCode().Rest());
  SetPixel(0, 320, 0x7C00);
  SetPixel(0, 239 * 320 + 319, 0x03E0);
  SetPixel(0, 240 * 320, 0x001F);
  RunFrames(1);
  EXPECT_EQ(host.picture[320], kRed);
  EXPECT_EQ(host.picture[239 * 320 + 319], kGreen);
  EXPECT_EQ(std::count(host.picture.begin(), host.picture.end(), 0u), kPicturePixels - 2)
      << "the line below the last is not shown";
}

TEST_F(VideoGuestTest, BitTwoOfTheControlRegisterSelectsThePage) {
  for (const u32 control : {0u, 4u, 0xFFFFFFFBu, 0xFFFFFFFFu}) {
    Boot(CGuestCode().Write32(kControlA, control).Rest());
    ColourPages();
    RunFrames(2);
    EXPECT_TRUE(IsPicture((control & 4) != 0 ? kGreen : kRed)) << std::hex << control;
  }
}

TEST_F(VideoGuestTest, TheOtherLayoutHasItsControlRegisterElsewhere) {
  Boot(CGuestCode().Write32(0x10000098, 4).Rest(), kPackIdentityB);
  ColourPages();
  RunFrames(2);
  EXPECT_TRUE(IsPicture(kGreen));
  Boot(CGuestCode().Write32(0x10000080, 4).Rest(), kPackIdentityB);
  ColourPages();
  RunFrames(2);
  EXPECT_TRUE(IsPicture(kRed));
}

// Waits for the blank line to rise, then writes the control register and rests.
CGuestCode FlipInBlank(u32 control) {
  CGuestCode code;
  const u32 wait = code.Here();
  code.Op(Mfc0(kT3, 13)).Op(Andi(kT3, kT3, 0x400));
  code.Op(Beq(kT3, kZero, static_cast<i32>(wait) - static_cast<i32>(code.Here()) - 1)).Op(kNop);
  return code.Write32(kControlA, control).Rest();
}

TEST_F(VideoGuestTest, AFlipAfterTheBlankBeganShowsFromTheNextFrameOn) {
  Boot(FlipInBlank(4));
  ColourPages();
  RunFrames(1);
  EXPECT_TRUE(IsPicture(kRed));
  RunFrames(1);
  EXPECT_TRUE(IsPicture(kGreen));
}

TEST_F(VideoGuestTest, ThePictureIsTheFrameStoreAtTheBeginOfTheBlank) {
  CGuestCode code;
  const u32 wait = code.Here();
  code.Op(Mfc0(kT3, 13)).Op(Andi(kT3, kT3, 0x400));
  code.Op(Beq(kT3, kZero, static_cast<i32>(wait) - static_cast<i32>(code.Here()) - 1)).Op(kNop);
  Boot(code.Write16(0x30000, 0x7FFF).Rest());
  RunFrames(1);
  EXPECT_EQ(host.picture[0], 0u);
  RunFrames(1);
  EXPECT_EQ(host.picture[0], 0xFFFFFFu);
}

TEST_F(VideoGuestTest, AResetShowsPageZeroAgain) {
  Boot(FlipInBlank(4));
  RunFrames(2);
  machine->Reset();
  machine->ApplySettings();
  ColourPages();
  RunFrames(1);
  EXPECT_TRUE(IsPicture(kRed));
}

}  // namespace
}  // namespace vx::test
