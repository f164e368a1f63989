// Parts of the sound program on the second model of the processor, which shares no code with it.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/sound/ReferenceDsp.h"
#include "tests/soundprogram/SoundCabinet.h"

namespace vx::test {
namespace {

constexpr u32 kMark = 0x55, kSelfTest = 0x0F;
constexpr u32 kFramesToStart = 10;
constexpr int kReturn = 0x3FFF;
constexpr u32 kMostSteps = 200000;

// The plain model with the program's memory, about to run a subroutine as the main loop calls it.
struct SReferenceProgram {
  explicit SReferenceProgram(const CSoundCabinet& cabinet, const std::string& label) {
    const SADSPState& s = cabinet.processor.state;
    std::copy(std::begin(s.internalRam), std::end(s.internalRam), model.internal);
    std::copy(std::begin(s.externalRam), std::end(s.externalRam), model.external);
    std::copy(std::begin(s.dataRam), std::end(s.dataRam), model.data);
    model.rom = cabinet.rom.data();
    model.mstat = 0x10;  // integer products
    model.loopEnd = 65535;
    for (CReferenceDsp::SGenerator& generator : model.dag) generator.mask = 0x3FFF;
    for (const int i : {1, 2, 4, 5}) model.dag[i].m = 1;
    model.pcStack.depth = 1;
    model.pcStack.entry[0] = kReturn;
    model.pc = SymbolOf(label);
  }
  bool Run() {
    for (u32 i = 0; i < kMostSteps && model.pc != kReturn; ++i) model.Run(1);
    return model.pc == kReturn;
  }
  u32 Data(const std::string& label, u32 offset = 0) const {
    constexpr u32 kDataRam = 0x3800;
    return static_cast<u32>(model.data[SymbolOf(label) + offset - kDataRam]);
  }

  CReferenceDsp model;
};

TEST(SoundProgramReference, SelfTestPagesGiveTheSameSumsOnBothModels) {
  CSoundCabinet cabinet(false);
  cabinet.Frames(kFramesToStart);
  for (u32 page = 0; page < 5; ++page) {
    SReferenceProgram reference(cabinet, "SELF_TEST");
    reference.model.bank.ar = static_cast<int>(page);
    ASSERT_TRUE(reference.Run()) << "page " << page;
    EXPECT_TRUE(reference.model.log.empty());
    ASSERT_TRUE(cabinet.Send({kMark, kSelfTest, 0, page}));
    cabinet.Frames(4);
    EXPECT_NE(reference.Data("TEST_SUM"), 0u);
    EXPECT_EQ(reference.Data("TEST_SUM"), cabinet.Data("TEST_SUM")) << "page " << page;
    EXPECT_EQ(reference.Data("TEST_COUNT"), cabinet.Data("TEST_COUNT")) << "page " << page;
  }
}

TEST(SoundProgramReference, TheWaveBuilderMakesTheSameWaveOnBothModels) {
  CSoundCabinet cabinet;
  cabinet.Frames(kFramesToStart);
  CSoundCabinet plain(false);
  plain.Frames(kFramesToStart);
  SReferenceProgram reference(plain, "BUILD_AGAIN");
  ASSERT_TRUE(reference.Run());
  EXPECT_EQ(reference.Data("RESULTS", 2), cabinet.Data("RESULTS", 0));
  EXPECT_EQ(reference.Data("RESULTS", 3), cabinet.Data("RESULTS", 1));
  for (u32 i = 0; i < 64; ++i) {
    const u32 word = reference.model.external[SymbolOf("WAVES") + i];
    EXPECT_EQ(word >> 8, cabinet.Data("WAVES", i)) << "point " << i;
  }
}

}  // namespace
}  // namespace vx::test
