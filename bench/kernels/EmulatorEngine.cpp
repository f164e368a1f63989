#include "bench/kernels/EmulatorEngine.h"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace vx::bench {

bool CEmulatorEngine::IsThere() { return *VX_KERNEL_EMULATOR != '\0'; }

SKernelRun CEmulatorEngine::Run(u32 kernel, u32 passes) {
  const std::string command = "'" VX_KERNEL_EMULATOR "' '" VX_KERNEL_PROGRAM "' " +
                              std::to_string(kernel) + " " + std::to_string(passes);
  std::FILE* const output = popen(command.c_str(), "r");
  if (output == nullptr) throw std::runtime_error(command + ": cannot be started");
  SKernelRun run{};
  const int values = std::fscanf(output, "%x %lf", &run.checksum, &run.nanoseconds);
  if (pclose(output) != 0 || values != 2) throw std::runtime_error(command + ": gave no result");
  return run;
}

}  // namespace vx::bench
