#include "tests/tools/RunTool.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/tools/TestFolder.h"

extern char** environ;

namespace vx::test {
namespace {

std::string TextOf(const std::filesystem::path& path) {
  const std::vector<u8> bytes = ReadWhole(path);
  return {bytes.begin(), bytes.end()};
}

// What was written to a terminal whose other end nobody holds any more.
std::string DrainTerminal(int controller) {
  std::string text;
  char buffer[512];
  for (ssize_t count; (count = read(controller, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(count));
  }
  close(controller);
  return text;
}

}  // namespace

SToolRun RunTool(const std::string& program, const std::vector<std::string>& arguments,
                 EErrorsTo errorsTo) {
  const CTestFolder folder;
  const std::string outputName = (folder / "output").string();
  std::string errorsName = folder.Write("errors", std::string()).string();
  int controller = -1;
  if (errorsTo == EErrorsTo::Terminal) {
    controller = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (controller < 0 || grantpt(controller) != 0 || unlockpt(controller) != 0) {
      throw std::runtime_error("no terminal for the test");
    }
    errorsName = ptsname(controller);
  }
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputName.c_str(), O_WRONLY | O_CREAT,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorsName.c_str(), O_WRONLY | O_NOCTTY,
                                   0);
  pid_t child = 0;
  const int spawned = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) throw std::runtime_error(program + " could not be started for the test");

  SToolRun run;
  if (controller >= 0) run.errors = DrainTerminal(controller);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
  run.output = TextOf(outputName);
  if (controller < 0) run.errors = TextOf(errorsName);
  return run;
}

}  // namespace vx::test
