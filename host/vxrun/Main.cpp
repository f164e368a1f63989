// vxrun: runs a pack on the virtual arcade board, in a window or headless.

#include <cstdio>
#include <exception>
#include <new>

#include "host/HostError.h"
#include "host/HostServices.h"
#include "host/vxrun/Options.h"
#include "host/vxrun/Run.h"
#include "host/vxrun/StartClock.h"

namespace {

vx::EExitCode RunGuarded(const vx::SOptions& options, const vx::CStartClock& startClock) {
  try {
    return vx::Run(options, startClock);
  } catch (const vx::CHostError& error) {
    std::fprintf(stderr, "vxrun: %s\n", error.what());
    return error.Code();
  } catch (const std::bad_alloc&) {
    std::fprintf(stderr, "vxrun: %s: there is not enough memory\n", options.packPath.c_str());
    return vx::EExitCode::OutOfMemory;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vxrun: %s: %s\n", options.packPath.c_str(), error.what());
    return vx::EExitCode::Usage;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const vx::CStartClock startClock;
  int exitCode = 0;
  const std::optional<vx::SOptions> options = vx::ParseOptions(argc, argv, exitCode);
  if (!options) return exitCode;
  const vx::EExitCode code = RunGuarded(*options, startClock);
  vx::CHostServices::Get().Log().Finish();
  return static_cast<int>(code);
}
