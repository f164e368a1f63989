// A fixture for tests of the disk store: a machine with its host, built into the test itself, a
// folder for the overlay, and packs whose sectors are told apart by their contents.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "machine/VXMachine.h"
#include "tests/disk/InflateGate.h"
#include "tests/disk/OverlayFile.h"
#include "tests/support/TestHost.h"
#include "tests/support/TestPack.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {

struct SMachineDeleter {
  void operator()(CVXMachine* machine) const { machine->Destruct(1); }
};
using MachinePtr = std::unique_ptr<CVXMachine, SMachineDeleter>;

inline constexpr u32 kSectorsPerTestChunk = 8;

// Content with a disk of chunks of eight sectors, each sector with contents of its own.
SPackContent DiskContent(u32 chunks);
// The contents that DiskContent gives a sector.
std::vector<u8> PackSector(u64 sector);

class CDiskTest : public testing::Test {
 protected:
  CDiskTest();
  ~CDiskTest() override;

  // LoadPack of a pack that is gone by the time this returns.
  bool Load(const CTestPack& pack);
  bool Load(u32 chunks) { return Load(CTestPack(DiskContent(chunks))); }
  void Restart();  // a new machine in place of the present one
  void AwaitWholeDisk();
  // With the gate in front of the machine's reader from its first chunk on.
  CInflateGate& Gate(bool bOpen = false);
  // Chunks in the order in which the reader inflated them.
  std::vector<u32> InflateOrder() const;

  // The sector as the drive gets it; empty if it is refused.
  std::vector<u8> Read(u64 sector);
  bool Write(u64 sector, const std::vector<u8>& contents);
  bool Write(u64 sector, u8 value) { return Write(sector, std::vector<u8>(512, value)); }
  // Writes, lets the flush delay pass and runs the start of a frame.
  void PassFlushDelay();

  std::filesystem::path OverlayFile() const { return OverlayFile(kTestDiskHash); }
  std::filesystem::path OverlayFile(u64 diskId) const;
  bool HasOverlay() const { return std::filesystem::exists(OverlayFile()); }
  // The overlay that the machine has written; the test fails if it is not whole.
  SOverlay Overlay() const;
  void PutOverlay(const std::vector<u8>& bytes) const;

  CTestFolder folder;
  CTestHost host;
  std::unique_ptr<CInflateGate> gate;
  MachinePtr m;
};

}  // namespace vx::test
