#include "tests/host/Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include "tests/host/TestPack.h"

namespace vx::test {

namespace {

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// What the caller adds stands before what is inherited; of one name the first holds.
std::vector<std::string> MakeEnvironment(const std::vector<std::string>& added) {
  std::vector<std::string> all = added;
  for (const char* fixed : {"SDL_VIDEODRIVER=dummy", "SDL_AUDIODRIVER=dummy"}) all.push_back(fixed);
  all.push_back("LSAN_OPTIONS=print_suppressions=0:suppressions=" HOST_LEAK_SUPPRESSIONS);
  all.push_back("XDG_CACHE_HOME=" + TestFolder() + "cache");
  all.push_back("TMPDIR=" + TestFolder());
  all.push_back("XDG_CONFIG_HOME=" + TestFolder() + "config");
  for (char** inherited = environ; *inherited != nullptr; ++inherited) all.push_back(*inherited);
  std::vector<std::string> unique;
  for (const std::string& entry : all) {
    const std::string_view name = std::string_view(entry).substr(0, entry.find('=') + 1);
    const bool bKnown = std::ranges::any_of(
        unique, [&](const std::string& other) { return other.starts_with(name); });
    if (!bKnown) unique.push_back(entry);
  }
  return unique;
}

}  // namespace

namespace {

std::vector<std::string> CompleteArguments(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), HOST_VXRUN);
  if (std::ranges::find(arguments, "--component") == arguments.end()) {
    arguments.insert(arguments.end(), {"--component", HOST_FAKE_FOLDER "host_fake.so"});
  }
  return arguments;
}

// Starts the program; 0 if that fails. `stderrFlags` are of the file under stderr.
pid_t Start(std::vector<std::string> arguments, const std::vector<std::string>& environment,
            const std::string& outPath, const std::string& errPath, int stderrFlags) {
  std::vector<std::string> texts = MakeEnvironment(environment);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), kFlags, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), stderrFlags, 0600);
  pid_t child = 0;
  const int error = posix_spawn(&child, HOST_VXRUN, &actions, nullptr, Pointers(arguments).data(),
                                Pointers(texts).data());
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(error, 0);
  return error == 0 ? child : 0;
}

void WaitFor(pid_t child, SProgramResult& result) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) return;
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
}

}  // namespace

SProgramResult RunProgram(std::vector<std::string> arguments,
                          const std::vector<std::string>& environment) {
  const std::string outPath = TestFolder() + "stdout";
  const std::string errPath = TestFolder() + "stderr";
  SProgramResult result;
  const pid_t child = Start(CompleteArguments(std::move(arguments)), environment, outPath, errPath,
                            O_WRONLY | O_CREAT | O_TRUNC);
  if (child == 0) return result;
  WaitFor(child, result);
  result.out = ReadWholeFile(outPath);
  result.err = ReadWholeFile(errPath);
  return result;
}

SProgramResult RunOnTerminal(std::vector<std::string> arguments, const std::string& words,
                             int signal) {
  SProgramResult result;
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(terminal, 0);
  EXPECT_EQ(grantpt(terminal), 0);
  EXPECT_EQ(unlockpt(terminal), 0);
  const std::string outPath = TestFolder() + "stdout";
  const pid_t child = Start(CompleteArguments(std::move(arguments)), {}, outPath, ptsname(terminal),
                            O_WRONLY | O_NOCTTY);
  if (child == 0) return result;
  bool bSignalled = false;
  char bytes[512];
  // The terminal ends with an error once nobody holds its other side.
  for (ssize_t got = 0; (got = read(terminal, bytes, sizeof(bytes))) > 0;) {
    result.err.append(bytes, static_cast<std::size_t>(got));
    if (bSignalled || result.err.find(words) == std::string::npos) continue;
    bSignalled = kill(child, signal) == 0;
  }
  WaitFor(child, result);
  close(terminal);
  result.out = ReadWholeFile(outPath);
  return result;
}

}  // namespace vx::test
