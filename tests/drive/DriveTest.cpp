#include "tests/drive/DriveTest.h"

#include <algorithm>
#include <cstdio>

namespace vx::test {

namespace {

// The drive's log function takes no context.
std::vector<std::string>* g_log = nullptr;

void Log(const char* format, u32 value) {
  char text[256];
  std::snprintf(text, sizeof(text), format, value);
  g_log->push_back(text);
}

}  // namespace

CDriveTest::CDriveTest() {
  g_log = &log;
  queue.Initialise([](void* context) { return static_cast<CDriveTest*>(context)->nowUs; }, this);
  CATADevice::SStorage storage;
  storage.user = this;
  storage.onSectorTouched = [](u64 sector, void* user) {
    static_cast<CDriveTest*>(user)->touched.push_back(sector);
  };
  storage.readSector = [](u8* buffer, u64 sector, void* user) {
    auto* const test = static_cast<CDriveTest*>(user);
    test->readSectors.push_back(sector);
    const Sector contents = Pattern(sector);
    std::copy_n(contents.begin(), test->deliveredBytes, buffer);
    return test->deliveredBytes;
  };
  storage.writeSector = [](const u8* buffer, u64 sector, void* user) {
    auto* const test = static_cast<CDriveTest*>(user);
    test->writtenSectors.push_back(sector);
    if (test->takenBytes == 512) std::copy_n(buffer, 512, test->written[sector].begin());
    return test->takenBytes;
  };
  drive.Construct(&queue, storage, Log);
  drive.SetInterruptCallback(
      [](CATADevice*, void* user, u32 level) {
        static_cast<CDriveTest*>(user)->levels.push_back(level);
      },
      this);
}

void CDriveTest::SpinUp() {
  nowUs -= queue.LastFired();
  queue.Rebase();
  drive.Reset();
  RunFor(kSpinUpUs);
  log.clear();
  levels.clear();
}

void CDriveTest::RunTo(f64 time) {
  while (!queue.IsEmpty() && queue.Entries().back().time <= time) {
    nowUs = queue.Entries().back().time;
    queue.Advance();
  }
  nowUs = time;
}

void CDriveTest::Select(const SPlace& place, u32 count, u32 driveHeadBits) {
  Write(kSectorCount, count);
  Write(kSectorNumber, place.sector);
  Write(kCylinderLow, place.cylinder & 0xFF);
  Write(kCylinderHigh, place.cylinder >> 8);
  Write(kDriveHead, place.head | driveHeadBits);
}

Sector CDriveTest::TakeSector() {
  Sector contents;
  for (u32 i = 0; i < 512; i += 2) {
    const u32 word = Read(kData);
    contents[i] = static_cast<u8>(word);
    contents[i + 1] = static_cast<u8>(word >> 8);
  }
  return contents;
}

void CDriveTest::GiveSector(const Sector& contents) {
  for (u32 i = 0; i < 512; i += 2) Write(kData, contents[i] | contents[i + 1] << 8);
}

void CDriveTest::StandOn(const SPlace& place) {
  Select(place);
  Command(0x20);
  if (UntilNextEvent() >= 0.0) RunFor(UntilNextEvent());
  TakeSector();
  Status();
  log.clear();
  levels.clear();
  touched.clear();
  readSectors.clear();
}

Sector CDriveTest::Pattern(u64 sector) {
  Sector contents;
  for (u32 i = 0; i < 512; ++i) contents[i] = static_cast<u8>(sector * 37 + i * 3 + i / 256);
  return contents;
}

}  // namespace vx::test
