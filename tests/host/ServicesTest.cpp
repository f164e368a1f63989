#include "host/HostServices.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <thread>
#include <vector>

#include "host/Folders.h"
#include "host/Inflate.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

const SHostApi& Api() { return *CHostServices::Get().Api(); }

std::vector<u8> Numbers(u32 count) {
  std::vector<u8> out(count);
  for (u32 i = 0; i < count; ++i) out[i] = static_cast<u8>(i * i / 7);
  return out;
}

class CServices : public testing::Test {
 protected:
  void SetUp() override { CHostServices::Get().ClearInflateFailures(); }
};

// A log into a string.
class CLogProbe {
 public:
  CLogProbe() : file_(open_memstream(&text_, &bytes_)), log(file_) {}
  ~CLogProbe() {
    std::fclose(file_);
    std::free(text_);
  }
  void Say(i32 level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    log.Write(level, format, arguments);
    va_end(arguments);
  }
  std::string Text() {
    std::fflush(file_);
    return {text_, bytes_};
  }

 private:
  char* text_ = nullptr;
  std::size_t bytes_ = 0;
  std::FILE* file_;

 public:
  CComponentLog log;
};

}  // namespace

TEST_F(CServices, InflateFillsTheTargetExactly) {
  const std::vector<u8> plain = Numbers(5000);
  const std::vector<u8> stored = test::Deflate(plain);
  std::vector<u8> target(plain.size());
  Api().Inflate(target.data(), stored.data(), 5000, static_cast<u32>(stored.size()), 0);
  EXPECT_EQ(target, plain);
  EXPECT_EQ(CHostServices::Get().InflateFailureCount(), 0u);
}

TEST_F(CServices, AnInflateThatFailsIsRemembered) {
  std::vector<u8> stored = test::Deflate(Numbers(5000));
  stored[stored.size() / 2] ^= 0x55;
  std::vector<u8> target(5000);
  Api().Inflate(target.data(), stored.data(), 5000, static_cast<u32>(stored.size()), 0);
  Api().Inflate(target.data(), "garbage", 100, 7, 0);
  EXPECT_EQ(CHostServices::Get().InflateFailureCount(), 2u);
  const auto failure = CHostServices::Get().FirstInflateFailure();
  ASSERT_TRUE(failure.has_value());
  EXPECT_EQ(failure->expectedBytes, 5000u);
  EXPECT_EQ(failure->storedBytes, stored.size());
}

TEST(Inflate, AStreamOfAnotherLengthIsNotExact) {
  const std::vector<u8> stored = test::Deflate(Numbers(1000));
  const u32 storedBytes = static_cast<u32>(stored.size());
  std::vector<u8> target(1002, 0xEE);
  EXPECT_FALSE(InflateBlock(target.data(), 999, stored.data(), storedBytes).bExact);
  EXPECT_EQ(target[999], 0xEE);
  const SInflateResult tooShort = InflateBlock(target.data(), 1001, stored.data(), storedBytes);
  EXPECT_FALSE(tooShort.bExact);
  EXPECT_EQ(tooShort.producedBytes, 1000u);
}

TEST(Inflate, ACutStreamIsNotExact) {
  const std::vector<u8> stored = test::Deflate(Numbers(1000));
  std::vector<u8> target(1000);
  for (u32 bytes = 0; bytes < stored.size(); ++bytes) {
    EXPECT_FALSE(InflateBlock(target.data(), 1000, stored.data(), bytes).bExact) << bytes;
  }
}

TEST(Inflate, AnEmptyStreamFillsAnEmptyTarget) {
  const std::vector<u8> stored = test::Deflate({});
  EXPECT_TRUE(InflateBlock(nullptr, 0, stored.data(), static_cast<u32>(stored.size())).bExact);
}

TEST_F(CServices, InflateWorksFromSeveralThreadsAtOnce) {
  const std::vector<u8> plain = Numbers(20000);
  const std::vector<u8> stored = test::Deflate(plain);
  std::vector<std::thread> threads;
  std::atomic<u32> wrong{0};
  for (u32 i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (u32 round = 0; round < 50; ++round) {
        std::vector<u8> target(plain.size());
        Api().Inflate(target.data(), stored.data(), 20000, static_cast<u32>(stored.size()), 0);
        if (target != plain) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0u);
  EXPECT_EQ(CHostServices::Get().InflateFailureCount(), 0u);
}

TEST_F(CServices, DecompressTableCopiesTheSmallerOfBothSizes) {
  u8 target[4] = {9, 9, 9, 9};
  Api().DecompressTable(target, "\1\2\3", 4, 3, 0, 0, 0);
  EXPECT_EQ(target[2], 3);
  EXPECT_EQ(target[3], 9);
  Api().DecompressTable(target, "\5\6\7", 1, 3, 0, 0, 0);
  EXPECT_EQ(target[0], 5);
  EXPECT_EQ(target[1], 2);
}

TEST_F(CServices, AContinuedHashDependsOnWhatCameBefore) {
  const u64 first = Api().HashData("abc", 3);
  EXPECT_EQ(first, Api().HashData("abc", 3));
  EXPECT_NE(first, Api().HashData("abd", 3));
  EXPECT_NE(Api().HashDataMore("x", 1, first), Api().HashDataMore("x", 1, first + 1));
}

TEST_F(CServices, TheClockNeverGoesBack) {
  f64 last = Api().GetClockMs();
  for (u32 i = 0; i < 1000; ++i) {
    const f64 now = Api().GetClockMs();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST_F(CServices, TheLastFrameBuffersHandedOutAreDistinct) {
  std::set<void*> seen;
  for (u32 i = 0; i < CFrameBufferRing::kBuffers; ++i) {
    seen.insert(Api().AcquireFrameBuffer(i / 2, 320, 240, 4, i % 2 == 1));
  }
  EXPECT_EQ(seen.size(), CFrameBufferRing::kBuffers);
}

TEST_F(CServices, FrameBuffersTakenByThreadsAtOnceAreDistinct) {
  void* taken[CFrameBufferRing::kBuffers];
  std::vector<std::thread> threads;
  for (u32 first = 0; first < CFrameBufferRing::kBuffers; first += 4) {
    threads.emplace_back([&taken, first] {
      for (u32 i = first; i < first + 4; ++i) {
        taken[i] = Api().AcquireFrameBuffer(i, 320, 240, 4, true);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set<void*>(std::begin(taken), std::end(taken)).size(), CFrameBufferRing::kBuffers);
}

TEST(FrameBufferRing, ABufferHoldsALargerPictureThanPrepared) {
  CFrameBufferRing ring(16);
  u8* buffer = static_cast<u8*>(ring.Acquire(640, 480, 4));
  ASSERT_NE(buffer, nullptr);
  buffer[640 * 480 * 4 - 1] = 1;
}

TEST(FrameBufferRing, SizesThatMakeNoPictureGetNone) {
  CFrameBufferRing ring(16);
  EXPECT_EQ(ring.Acquire(0, 240, 4), nullptr);
  EXPECT_EQ(ring.Acquire(0xFFFFFFFF, 0xFFFFFFFF, 4), nullptr);
  EXPECT_EQ(ring.Acquire(320, 240, 0), nullptr);
}

TEST_F(CServices, TheCachePathEndsInASlashAndTheFolderIsMadeWhenAskedFor) {
  const std::string folder = test::TestFolder() + "deep/cache";
  CHostServices::Get().SetCacheFolder(folder);
  EXPECT_FALSE(std::filesystem::exists(folder));
  const std::wstring path = Api().GetCachePath();
  EXPECT_EQ(path.back(), L'/');
  EXPECT_TRUE(std::filesystem::is_directory(folder));
}

TEST_F(CServices, TheDefaultCacheFolderFollowsTheUsersCacheFolder) {
  setenv("XDG_CACHE_HOME", "/somewhere/cache", 1);
  EXPECT_EQ(DefaultCacheFolder(), "/somewhere/cache/vxrun/");
  setenv("XDG_CACHE_HOME", "relative", 1);
  setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(DefaultCacheFolder(), "/home/someone/.cache/vxrun/");
}

TEST_F(CServices, SoundsInSpaceAreTheBoardsOwnUnlessTheHostIsAskedTo) {
  EXPECT_FALSE(Api().SpatialIsEnabled());
  CHostServices::Get().Panner().Enable(true);
  EXPECT_TRUE(Api().SpatialIsEnabled());
  CHostServices::Get().Panner().Enable(false);
}

TEST_F(CServices, ASourceInSpaceIsHeardWhereItIsWithAnEchoBehind) {
  f32 position[3] = {}, forward[3] = {0, 0, 1}, right[3] = {1, 0, 0}, up[3] = {0, 1, 0};
  Api().SpatialGetListener(position, forward, right, up);
  void* source = Api().SpatialCreateSource();
  ASSERT_NE(source, nullptr);
  const f32 place[3] = {1, 0, 0};
  Api().SpatialPlaceSource(source, place, 0, 0.75f, Api().SpatialGetMode(0, 0, 0));
  const i16 samples[] = {10000, 0, 0};
  std::vector<i16> out(3 * 2 + Api().SpatialGetBlockSize());
  u32 tail = 0;
  Api().SpatialRender(out.data(), &tail, source, samples, 3);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(out[1], 7500);
  EXPECT_GT(tail, 0u);
  EXPECT_LE(tail, Api().SpatialGetBlockSize());
  Api().SpatialDestroySource(source);
}

TEST_F(CServices, HooksLetTheInterruptedOperationGoOn) {
  EXPECT_EQ(Api().InvokeDspHook(nullptr, true, 1, 2), 1);
  EXPECT_EQ(Api().InvokeMipsHook(nullptr, true, 1, 2, 3), 1);
}

TEST_F(CServices, SettingsAreLockedOnRequestOnly) {
  EXPECT_FALSE(Api().IsConfigLocked());
  CHostServices::Get().LockConfig(true);
  EXPECT_TRUE(Api().IsConfigLocked());
  CHostServices::Get().LockConfig(false);
  EXPECT_FALSE(Api().IsConfigLocked());
}

TEST_F(CServices, TheBoardsClockStandsUntilItIsMoved) {
  CHostServices::Get().SetBoardClock(1000.5);
  EXPECT_EQ(Api().GetClockMs(), 1000.5);
  EXPECT_EQ(Api().GetClockMs(), 1000.5);
  CHostServices::Get().SetBoardClock(1017.0);
  EXPECT_EQ(Api().GetClockMs(), 1017.0);
  CHostServices::Get().UseRealClock();
  EXPECT_NE(Api().GetClockMs(), 1017.0);
}

TEST_F(CServices, InflatesOfTheSizeAskedForAreCounted) {
  const std::vector<u8> stored = test::Deflate(std::vector<u8>(64));
  std::vector<u8> target(64);
  const auto inflate = [&](u32 bytes) {
    Api().Inflate(target.data(), stored.data(), bytes, static_cast<u32>(stored.size()), 0);
  };
  CHostServices::Get().CountInflates(64);
  inflate(64);
  inflate(32);
  inflate(64);
  EXPECT_EQ(CHostServices::Get().CountedInflates(), 2u);
  CHostServices::Get().CountInflates(64);
  EXPECT_EQ(CHostServices::Get().CountedInflates(), 0u);
  CHostServices::Get().ClearInflateFailures();
}

TEST(ComponentLog, InformationIsShownOnRequestOnly) {
  CLogProbe probe;
  probe.Say(0, "quiet %d\n", 1);
  EXPECT_EQ(probe.Text(), "");
  probe.log.SetVerbose(true);
  probe.Say(0, "loud %d\n", 2);
  EXPECT_EQ(probe.Text(), "component information: loud 2\n");
}

TEST(ComponentLog, WarningsAndErrorsAreAlwaysShown) {
  CLogProbe probe;
  probe.Say(1, "odd\n");
  probe.Say(2, "bad\n");
  EXPECT_EQ(probe.Text(), "component warning: odd\ncomponent error: bad\n");
}

TEST(ComponentLog, WideTextBeyondAsciiIsShown) {
  CLogProbe probe;
  probe.Say(1, "file %ls\n", L"caf\x00e9");
  EXPECT_EQ(probe.Text(), "component warning: file caf\xC3\xA9\n");
}

TEST(ComponentLog, AMessageWithoutEndIsShownAFewTimesAndThenCounted) {
  CLogProbe probe;
  const char* format = "op %u\n";
  for (u32 i = 0; i < CComponentLog::kShownOfEach + 30; ++i) probe.Say(2, format, i);
  EXPECT_EQ(probe.Text().find("op 20"), std::string::npos);
  probe.log.Finish();
  EXPECT_NE(probe.Text().find("30 more messages"), std::string::npos);
}

TEST(ComponentLog, AMessageLongerThanTheBufferEndsInANewline) {
  CLogProbe probe;
  probe.Say(2, "%s\n", std::string(5000, 'x').c_str());
  EXPECT_TRUE(probe.Text().ends_with("x...\n"));
}

}  // namespace vx
