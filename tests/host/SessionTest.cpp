#include "host/Session.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "host/HostError.h"
#include "host/Settings.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

constexpr u64 kPlentyBytes = ~u64{0};
constexpr const char* kFakePath = HOST_FAKE_FOLDER "host_fake.so";

class CSessionOfFake : public testing::Test {
 protected:
  void SetUp() override {
    // A second handle on the library that is loaded already.
    void* library = dlopen(kFakePath, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr);
    takeCalls_ = reinterpret_cast<const char* (*)()>(dlsym(library, "FakeTakeCalls"));
    dlclose(library);
    ASSERT_NE(takeCalls_, nullptr);
    TakeCalls();
  }

  std::string TakeCalls() { return takeCalls_(); }
  void Start(CSession& session, const std::string& path) {
    session.Start(path, CheckPack(path, kPlentyBytes));
  }
  std::string DamageOf(CSession& session, const std::string& path) {
    try {
      Start(session, path);
      for (u32 i = 0; i < 10; ++i) session.RunFrame(records, 2);
      return "";
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), EExitCode::PackDamaged);
      return error.what();
    }
  }

  CComponent component{kFakePath};
  SInputRecord records[2];

 private:
  const char* (*takeCalls_)() = nullptr;
};

}  // namespace

TEST_F(CSessionOfFake, AMachinesLifeIsInTheOrderThatTheComponentWants) {
  {
    CSession session(component, {});
    Start(session, test::STestPack().WriteAs("good.qilhard"));
    session.RunFrame(records, 2);
    EXPECT_EQ(session.FrameCount(), 1u);
  }
  EXPECT_EQ(TakeCalls(),
            "CreateMachine LoadPack Reset ApplySettings SetInput RunFrame DestroyMachine");
}

TEST_F(CSessionOfFake, PicturesComeOnlyWhenTheyAreWanted) {
  u32 asked = 0;
  u32 shown = 0;
  u32 firstPixel = 0;
  CSession session(component, {.wantsPicture = [&] { return ++asked % 2 == 0; },
                               .onPicture =
                                   [&](const u32* pixels, u32 width, u32 height) {
                                     EXPECT_EQ(width, 320u);
                                     EXPECT_EQ(height, 240u);
                                     firstPixel = pixels[0];
                                     ++shown;
                                   },
                               .onSound = {}});
  Start(session, test::STestPack().WriteAs("good.qilhard"));
  for (u32 i = 0; i < 4; ++i) session.RunFrame(records, 2);
  EXPECT_EQ(asked, 4u);
  EXPECT_EQ(shown, 2u);
  EXPECT_EQ(firstPixel, 0x00030040u);
}

TEST_F(CSessionOfFake, SoundArrivesWithItsCountAndRate) {
  CSettings(component.Table().GetSettings()).Set("FAKE_SoundRate=24000");
  u32 values = 0;
  CSession session(component, {.wantsPicture = {},
                               .onPicture = {},
                               .onSound = [&](const i16*, u32 count) { values += count; }});
  Start(session, test::STestPack().WriteAs("good.qilhard"));
  session.RunFrame(records, 2);
  EXPECT_EQ(values, 1000u);
  EXPECT_EQ(session.SampleRate(), 24000);
  CSettings(component.Table().GetSettings()).Set("FAKE_SoundRate=0");
}

TEST_F(CSessionOfFake, WhatAHookThrowsLeavesTheFrameAfterTheMachineHasFinishedIt) {
  CSession session(
      component, {.wantsPicture = [] { return true; },
                  .onPicture = [](const u32*, u32, u32) { throw std::runtime_error("disk full"); },
                  .onSound = {}});
  Start(session, test::STestPack().WriteAs("good.qilhard"));
  EXPECT_THROW(session.RunFrame(records, 2), std::runtime_error);
  EXPECT_EQ(session.FrameCount(), 1u);
}

TEST_F(CSessionOfFake, TheStateHashFollowsTheInput) {
  CSession session(component, {});
  Start(session, test::STestPack().WriteAs("good.qilhard"));
  session.RunFrame(records, 2);
  const u64 before = session.HashState();
  EXPECT_EQ(session.HashState(), before);
  records[0].padBits = 0x10;
  session.Machine().SetInput(records, 2);
  EXPECT_NE(session.HashState(), before);
}

TEST_F(CSessionOfFake, TheHashOfTheMachineFollowsStateAndMemory) {
  CSession session(component, {});
  Start(session, test::STestPack().WriteAs("good.qilhard"));
  const u64 state = session.HashState();
  const u64 machine = session.HashMachine();
  EXPECT_EQ(session.HashMachine(), machine);
  session.Machine().GetMemoryImage()[63] ^= 1;
  EXPECT_EQ(session.HashState(), state);
  EXPECT_NE(session.HashMachine(), machine);
  session.Machine().GetMemoryImage()[63] ^= 1;
  session.RunFrame(records, 2);
  EXPECT_NE(session.HashMachine(), machine);
}

TEST_F(CSessionOfFake, AResetIsFollowedByTheSettings) {
  CSession session(component, {});
  Start(session, test::STestPack().WriteAs("good.qilhard"));
  session.RunFrame(records, 2);
  TakeCalls();
  session.Reset();
  EXPECT_EQ(TakeCalls(), "Reset ApplySettings");
  EXPECT_EQ(session.FrameCount(), 0u);
}

TEST_F(CSessionOfFake, TheDisksProgressCountsPackedChunksAndNoRomOfTheirSize) {
  test::STestPack pack;
  const std::vector<u8> stored = test::Deflate(std::vector<u8>(pack.directory.disk.chunkBytes));
  pack.directory.roms[4].dataOffset = 32 + 640 + pack.data.size();
  pack.directory.roms[4].storedBytes = stored.size();
  pack.directory.roms[4].inflatedBytes = pack.directory.disk.chunkBytes;
  pack.data.insert(pack.data.end(), stored.begin(), stored.end());
  pack.directory.disk.sizeTableOffset += stored.size();
  CSession session(component, {});
  Start(session, pack.WriteAs("good.qilhard"));
  std::vector<u32> done;
  for (u32 i = 0; i < 5; ++i) {
    done.push_back(session.DiskProgress().chunksDone);
    session.RunFrame(records, 2);
  }
  // The third of the four is stored as it is.
  EXPECT_EQ(done, (std::vector<u32>{0, 1, 2, 2, 3}));
  EXPECT_EQ(session.DiskProgress().chunkCount, 3u);
  EXPECT_TRUE(session.DiskProgress().IsComplete());
}

TEST_F(CSessionOfFake, ADamagedRomIsNamed) {
  test::STestPack pack;
  pack.data[pack.directory.roms[5].dataOffset - 672 + pack.directory.roms[5].storedBytes / 2] ^=
      0xFF;
  const std::string path = pack.WriteAs("spoiled.qilhard");
  CSession session(component, {});
  const std::string sentence = DamageOf(session, path);
  EXPECT_TRUE(sentence.starts_with(path + ": is damaged: ROM entry 5 of ")) << sentence;
}

TEST_F(CSessionOfFake, ADamagedDiskChunkIsToldWhenItIsReached) {
  test::STestPack pack;
  pack.data[pack.data.size() - pack.chunkSizes[3] / 2] ^= 0xFF;
  CSession session(component, {});
  const std::string sentence = DamageOf(session, pack.WriteAs("spoiled.qilhard"));
  EXPECT_NE(sentence.find("is damaged: a disk chunk of "), std::string::npos) << sentence;
  EXPECT_EQ(session.FrameCount(), 4u);
}

TEST_F(CSessionOfFake, ARefusalByTheComponentIsTold) {
  CSettings settings(component.Table().GetSettings());
  settings.Set("FAKE_Refuse=1");
  CSession session(component, {});
  const std::string sentence = DamageOf(session, test::STestPack().WriteAs("good.qilhard"));
  EXPECT_NE(sentence.find("is refused by the component"), std::string::npos);
  settings.Set("FAKE_Refuse=0");
}

TEST_F(CSessionOfFake, AFileNameThatIsNotUtf8IsTold) {
  const std::string path = test::STestPack().WriteAs("caf\xE9.qilhard");
  CSession session(component, {});
  EXPECT_THROW(Start(session, path), CHostError);
}

}  // namespace vx
