#include "host/StateSlots.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <random>

#include "host/HostError.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

namespace fs = std::filesystem;

// Files of this process end after so many bytes, as on a full disk.
class CFullDisk {
 public:
  explicit CFullDisk(rlim_t bytes) {
    oldHandler_ = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit small{bytes, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~CFullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, oldHandler_);
  }

 private:
  rlimit old_{};
  void (*oldHandler_)(int) = nullptr;
};

class StateSlots : public testing::Test {
 protected:
  void SetUp() override { fs::remove_all(folder); }

  static SSavedState State(u64 frame) {
    SSavedState state;
    state.frame = frame;
    std::mt19937 random(1);
    for (u32 i = 0; i < 20000; ++i) state.stream.push_back(static_cast<u8>(random()));
    return state;
  }
  u64 FrameIn(const std::string& path) const { return CStateSlots::Load(path).frame; }
  u32 FilesInFolder() const {
    u32 count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder)) ++count;
    return count;
  }

  std::string folder = test::TestFolder() + "deep/states/";
  CStateSlots slots{folder, "/somewhere/good game.qilhard"};
};

}  // namespace

TEST_F(StateSlots, ASlotIsAFileWithThePacksName) {
  EXPECT_EQ(slots.PathOf(3), folder + "good game.3.vxstate");
  EXPECT_EQ(slots.PathOf("3"), slots.PathOf(3));
  EXPECT_EQ(slots.PathOf("./3"), "./3");
  EXPECT_EQ(slots.PathOf("33"), "33");
  EXPECT_EQ(slots.PathOf("x"), "x");
}

TEST_F(StateSlots, TheFolderIsMadeWithTheFirstSave) {
  EXPECT_FALSE(fs::exists(folder));
  slots.Save(slots.PathOf(0), State(1));
  EXPECT_EQ(FrameIn(slots.PathOf(0)), 1u);
  EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(StateSlots, WhatASaveReplacesIsKeptOnce) {
  for (u64 frame = 1; frame <= 3; ++frame) slots.Save(slots.PathOf(0), State(frame));
  EXPECT_EQ(FrameIn(slots.PathOf(0)), 3u);
  EXPECT_EQ(FrameIn(PathBefore(slots.PathOf(0))), 2u);
  EXPECT_EQ(FilesInFolder(), 2u);
}

TEST_F(StateSlots, AnUndoneSaveBringsBackWhatWasThere) {
  slots.Save(slots.PathOf(0), State(1));
  slots.Save(slots.PathOf(0), State(2));
  EXPECT_TRUE(slots.UndoSave());
  EXPECT_EQ(FrameIn(slots.PathOf(0)), 1u);
  EXPECT_FALSE(slots.UndoSave());
  EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(StateSlots, AnUndoneSaveOfAnEmptySlotEmptiesIt) {
  EXPECT_FALSE(slots.UndoSave());
  slots.Save(slots.PathOf(0), State(1));
  EXPECT_TRUE(slots.UndoSave());
  EXPECT_FALSE(fs::exists(slots.PathOf(0)));
}

TEST_F(StateSlots, ASaveOntoAFullDiskLeavesWhatWasThereAndNothingElse) {
  slots.Save(slots.PathOf(0), State(1));
  for (const rlim_t room : {rlim_t{0}, rlim_t{100}, rlim_t{5000}}) {
    const CFullDisk full(room);
    try {
      slots.Save(slots.PathOf(0), State(2));
      ADD_FAILURE();
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), EExitCode::OutputFailed);
      EXPECT_TRUE(std::string(error.what()).starts_with(slots.PathOf(0))) << error.what();
    }
  }
  EXPECT_EQ(FrameIn(slots.PathOf(0)), 1u);
  EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(StateSlots, AFailedSaveIsNotUndone) {
  slots.Save(slots.PathOf(0), State(1));
  slots.Save(slots.PathOf(1), State(2));
  {
    const CFullDisk full(100);
    EXPECT_THROW(slots.Save(slots.PathOf(0), State(3)), CHostError);
  }
  EXPECT_TRUE(slots.UndoSave());
  EXPECT_EQ(FrameIn(slots.PathOf(0)), 1u);
  EXPECT_FALSE(fs::exists(slots.PathOf(1)));
}

TEST_F(StateSlots, AFileThatIsNoStateIsNotWrittenOver) {
  const std::string path = test::WriteFile("precious.txt", {'h', 'e', 'l', 'l', 'o'});
  EXPECT_THROW(slots.Save(path, State(1)), CHostError);
  EXPECT_EQ(test::ReadWholeFile(path), "hello");
  EXPECT_THROW(slots.Save("/dev/null", State(1)), CHostError);
}

TEST_F(StateSlots, APlaceThatCannotBeWrittenIsNamed) {
  test::WriteFile("file", {1});
  CStateSlots blocked(test::TestFolder() + "file/", "pack");
  EXPECT_THROW(blocked.Save(blocked.PathOf(0), State(1)), CHostError);
  EXPECT_THROW(slots.Save(test::TestFolder() + "none/state", State(1)), CHostError);
}

TEST_F(StateSlots, TheListTellsEachSlotAndWhyAStateDoesNotFit) {
  SSavedState state = State(55);
  state.savedAtSeconds = 1700000000;
  slots.Save(slots.PathOf(1), state);
  state.owner.pack.hash = 5;
  slots.Save(slots.PathOf(2), state);
  fs::copy_file(slots.PathOf(1), slots.PathOf(3));
  fs::resize_file(slots.PathOf(3), 60);
  fs::create_directory(slots.PathOf(4));
  const std::string list = slots.List({});
  EXPECT_TRUE(list.starts_with("0  empty\n1  2023-11-1")) << list;
  EXPECT_NE(list.find(", frame 55\n2  "), std::string::npos) << list;
  EXPECT_NE(list.find(", frame 55; was saved with another pack\n3  is truncated\n4  is a folder"),
            std::string::npos)
      << list;
  EXPECT_TRUE(list.ends_with("9  empty\n")) << list;
}

}  // namespace vx
