// The power goes while the game saves: a program that does nothing but save is killed at random
// moments, and under the overlay's name there is always one whole generation.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>

#include "tests/disk/Generations.h"
#include "tests/disk/OverlayFile.h"
#include "tests/support/TestPack.h"
#include "tests/tools/TestFolder.h"

extern char** environ;

namespace vx::test {
namespace {

constexpr u32 kKills = 320;

// The saving program, with the pipe on which it tells its flushes.
class CSaver {
 public:
  CSaver(const std::string& pack, const std::string& folder) {
    int ends[2];
    if (pipe(ends) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    std::string program = VX_SAVER, first = pack, second = folder;
    char* const arguments[] = {program.data(), first.data(), second.data(), nullptr};
    if (posix_spawn(&m_child, VX_SAVER, &actions, nullptr, arguments, environ) != 0) m_child = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    m_flushes = ends[0];
  }
  ~CSaver() { close(m_flushes); }

  bool Runs() const { return m_child > 0; }
  // Waits for one more flush; false if the program has ended instead.
  bool AwaitFlush() {
    char byte = 0;
    if (read(m_flushes, &byte, 1) != 1) return false;
    ++m_told;
    return true;
  }
  // Ends the program as a power cut does. Answers its exit state.
  int Kill() {
    kill(m_child, SIGKILL);
    int state = 0;
    waitpid(m_child, &state, 0);
    while (AwaitFlush()) continue;
    return state;
  }
  // Flushes that the program has told in its life; after its end, all of them.
  u32 Told() const { return m_told; }

 private:
  pid_t m_child = -1;
  int m_flushes = -1;
  u32 m_told = 0;
};

// Lets a little time pass without giving the processor away, so that the kill comes anywhere.
void Spin(std::chrono::microseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (std::chrono::steady_clock::now() < end) continue;
}

TEST(DiskKillTest, AProgramKilledWhileItSavesLeavesTheOldOverlayOrTheNewOneWhole) {
  const CTestFolder folder;
  SPackContent content;
  content.chunkCount = kGenerationChunks;
  content.disk.resize(content.chunkCount * content.chunkBytes);
  for (const u32 sector : kMarkedSectors) {
    const auto contents = GenerationSector(0, sector);
    std::copy(contents.begin(), contents.end(), content.disk.begin() + sector * 512);
  }
  const std::vector<u8> pack = CTestPack(content).Bytes();
  const std::filesystem::path packFile = folder.Write("pack.qilhard", pack);
  const std::filesystem::path cache = folder / "cache";
  std::filesystem::create_directory(cache);

  std::mt19937 random(1);
  u32 generation = 0;  // on the disk
  u32 olds = 0, news = 0;
  for (u32 round = 0; round < kKills; ++round) {
    CSaver saver(packFile.string(), cache.string() + "/");
    ASSERT_TRUE(saver.Runs());
    for (u32 i = random() % 4 + 1; i != 0; --i) {
      ASSERT_TRUE(saver.AwaitFlush()) << "the program found a torn disk at its start";
    }
    Spin(std::chrono::microseconds(random() % 1500));
    const int state = saver.Kill();
    ASSERT_TRUE(WIFSIGNALED(state) && WTERMSIG(state) == SIGKILL) << "round " << round;

    char name[64];
    std::snprintf(name, sizeof(name), "vxhdd%016llX.qilhardchunk",
                  static_cast<unsigned long long>(kTestDiskHash));
    const auto overlay = ParseOverlay(ReadWhole(cache / name));
    ASSERT_TRUE(overlay) << "round " << round << ": the overlay is torn";
    ASSERT_EQ(overlay->sectors.size(), kMarkedSectors.size());
    u32 found = 0;
    std::memcpy(&found, overlay->sectors.begin()->second.data(), sizeof(found));
    for (const auto& [sector, contents] : overlay->sectors) {
      const auto expected = GenerationSector(found, static_cast<u32>(sector));
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), contents.begin()))
          << "round " << round << ": sector " << sector << " is of another generation";
    }
    const u32 told = generation + saver.Told();
    ASSERT_TRUE(found == told || found == told + 1)
        << "round " << round << ": " << found << " is neither the last flush told nor the next";
    ++(found == told ? olds : news);
    generation = found;
    u32 files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(cache)) ++files;
    ASSERT_LE(files, 2u) << "temporaries pile up";
  }
  EXPECT_EQ(olds + news, kKills);
  RecordProperty("old", static_cast<int>(olds));
  RecordProperty("new", static_cast<int>(news));
}

}  // namespace
}  // namespace vx::test
