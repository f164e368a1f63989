// A program that saves without end, for a test that kills it: it loads a pack, looks at what the
// overlay brought, and writes one generation of sectors after the other, each with a flush behind
// it. It tells each flush that is complete by a byte on its standard output.
//
// Arguments: the pack, and the folder of the overlay with a slash at its end.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "devices/DiskOverlay.h"
#include "devices/DiskStore.h"
#include "machine/HostAccess.h"
#include "machine/Settings.h"
#include "machine/VXMachine.h"
#include "tests/disk/Generations.h"
#include "tests/support/TestHost.h"

namespace vx::test {

namespace {

enum EExit : int { kBadArguments = 2, kPackRefused = 3, kTornDisk = 4 };

std::wstring Wide(const char* text) { return {text, text + std::strlen(text)}; }

// The one generation that all marked sectors hold; -1 if they are of several.
i64 GenerationOnDisk(CVXMachine* m) {
  u8 contents[512];
  ReadSector(contents, kMarkedSectors[0], m);
  u32 generation = 0;
  std::memcpy(&generation, contents, sizeof(generation));
  for (const u32 sector : kMarkedSectors) {
    ReadSector(contents, sector, m);
    if (std::memcmp(contents, GenerationSector(generation, sector).data(), 512) != 0) return -1;
  }
  return generation;
}

int Run(const char* pack, const char* folder) {
  CTestHost host;
  host.cachePath = Wide(folder);
  SetHost(&host.Api());
  BuildSettings();
  auto* const m = new CVXMachine;
  if (!m->LoadPack(Wide(pack).c_str())) return kPackRefused;
  const i64 found = GenerationOnDisk(m);
  if (found < 0) return kTornDisk;
  for (u32 generation = static_cast<u32>(found) + 1;; ++generation) {
    for (const u32 sector : kMarkedSectors) {
      WriteSector(GenerationSector(generation, sector).data(), sector, m);
    }
    host.clockMs = host.clockMs + 201.0;
    // The flush of a frame's start, without the rest of the frame.
    if (host.clockMs > m->flushDeadline) FlushPendingOverlay(*m);
    if (write(STDOUT_FILENO, "f", 1) != 1) return 0;
  }
}

}  // namespace

}  // namespace vx::test

int main(int count, char** arguments) {
  return count == 3 ? vx::test::Run(arguments[1], arguments[2]) : vx::test::kBadArguments;
}
