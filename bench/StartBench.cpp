// How long a player waits: from the start of the program to the cabinet's first frame.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace {

int Run(const char* program, const char* pack) {
  char* const arguments[] = {const_cast<char*>(program),
                             const_cast<char*>(pack),
                             const_cast<char*>("--headless"),
                             const_cast<char*>("--frames"),
                             const_cast<char*>("1"),
                             const_cast<char*>("--unthrottled"),
                             nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", 1, 0);
  pid_t child = 0;
  int status = posix_spawn(&child, program, &actions, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (status == 0) waitpid(child, &status, 0);
  return status;
}

// The whole process, its end included.
void BM_FirstFrameOfCabinet(benchmark::State& state) {
  for (auto _ : state) {
    if (Run(VX_VXRUN, VX_CABINET) != 0) {
      state.SkipWithError("vxrun does not run the cabinet");
      break;
    }
  }
}
BENCHMARK(BM_FirstFrameOfCabinet)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
