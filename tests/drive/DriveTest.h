// A drive by itself: its own timeline, a host clock that stands where the test puts it, and a disk
// that writes down what it is asked.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <vector>

#include "devices/ATADevice.h"

namespace vx::test {

using Sector = std::array<u8, 512>;

inline constexpr f64 kRevolutionUs = 11111.111111111111;
inline constexpr f64 kSeekUs = 0.4;  // within a cylinder, and between sectors of a transfer
inline constexpr f64 kCommitUs = 100.0;
inline constexpr f64 kSetupUs = 10.0;
inline constexpr f64 kSpinUpUs = 4000.0;

enum ERegister : u32 {
  kData,
  kFeatures,
  kSectorCount,
  kSectorNumber,
  kCylinderLow,
  kCylinderHigh,
  kDriveHead,
  kStatusOrCommand,
};

struct SPlace {
  u32 cylinder = 0, head = 0, sector = 1;
};

class CDriveTest : public testing::Test {
 protected:
  CDriveTest();

  // Reset, spun up and with nothing remembered of it.
  void SpinUp();
  // Lets guest time pass, firing what comes due.
  void RunTo(f64 time);
  void RunFor(f64 microseconds) { RunTo(nowUs + microseconds); }
  // Time of the soonest pending event, and from now to it; negative if there is none.
  f64 NextEventTime() const { return queue.IsEmpty() ? -1.0 : queue.Entries().back().time; }
  f64 UntilNextEvent() const { return queue.IsEmpty() ? -1.0 : NextEventTime() - nowUs; }

  u32 Read(u32 index) { return drive.ReadRegister(index); }
  void Write(u32 index, u32 value) { drive.WriteRegister(index, value); }
  u32 Status() { return Read(kStatusOrCommand); }
  void Command(u32 code) { Write(kStatusOrCommand, code); }
  void Select(const SPlace& place, u32 count = 1, u32 driveHeadBits = 0);
  // All 256 words of the data port, lowest byte first.
  Sector TakeSector();
  void GiveSector(const Sector& contents);
  // Puts the head on a sector, as a finished read of it does.
  void StandOn(const SPlace& place);

  static Sector Pattern(u64 sector);

  // --- The disk ------------------------------------------------------------------------------
  std::map<u64, Sector> written;
  std::vector<u64> touched, readSectors, writtenSectors;
  u32 deliveredBytes = 512;
  u32 takenBytes = 512;

  // --- What the drive said -------------------------------------------------------------------
  std::vector<std::string> log;
  std::vector<u32> levels;  // of the interrupt line, in the order they were told

  f64 nowUs = 0.0;
  CEventQueue queue;
  CATADevice drive;
  SATARecord& record = drive.block.record;
};

}  // namespace vx::test
