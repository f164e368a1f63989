#include "tests/disk/DiskTest.h"

#include <cinttypes>
#include <cstdio>
#include <thread>

#include "devices/DiskStore.h"
#include "machine/HostAccess.h"
#include "machine/Settings.h"

namespace vx::test {

SPackContent DiskContent(u32 chunks) {
  SPackContent content;
  content.chunkCount = chunks;
  for (u32 sector = 0; sector < chunks * kSectorsPerTestChunk; ++sector) {
    const std::vector<u8> contents = PackSector(sector);
    content.disk.insert(content.disk.end(), contents.begin(), contents.end());
  }
  return content;
}

std::vector<u8> PackSector(u64 sector) {
  std::vector<u8> contents(512, static_cast<u8>(sector * 7 + 1));
  contents[0] = static_cast<u8>(sector);
  contents[1] = static_cast<u8>(sector >> 8);
  return contents;
}

CDiskTest::CDiskTest() {
  host.cachePath = folder.Path().wstring() + L"/";
  SetHost(&host.Api());
  BuildSettings();
  m.reset(new CVXMachine);
}

CDiskTest::~CDiskTest() {
  if (gate != nullptr) gate->Open();
  m.reset();
  gate.reset();
  ClearSettings();
  SetHost(nullptr);
}

bool CDiskTest::Load(const CTestPack& pack) {
  const CPackFile file(pack);
  return m->LoadPack(file.Path());
}

void CDiskTest::Restart() {
  m.reset();
  m.reset(new CVXMachine);
}

void CDiskTest::AwaitWholeDisk() {
  while (m->bAllChunksLoaded.load() == 0) std::this_thread::yield();
}

CInflateGate& CDiskTest::Gate(bool bOpen) {
  gate = std::make_unique<CInflateGate>(host, bOpen);
  return *gate;
}

std::vector<u32> CDiskTest::InflateOrder() const {
  std::vector<u32> order;
  for (const u8* target : gate->Targets()) {
    order.push_back(static_cast<u32>((target - m->diskImage.get()) / m->chunkBytes));
  }
  return order;
}

std::vector<u8> CDiskTest::Read(u64 sector) {
  std::vector<u8> bytes(512);
  const u32 count = ReadSector(bytes.data(), sector, m.get());
  EXPECT_TRUE(count == 0 || count == 512);
  bytes.resize(count);
  return bytes;
}

bool CDiskTest::Write(u64 sector, const std::vector<u8>& contents) {
  return WriteSector(contents.data(), sector, m.get()) == 512;
}

void CDiskTest::PassFlushDelay() {
  host.clockMs = host.clockMs + 200.5;
  m->FrameStep();
}

std::filesystem::path CDiskTest::OverlayFile(u64 diskId) const {
  char name[64];
  std::snprintf(name, sizeof(name), "vxhdd%016" PRIX64 ".qilhardchunk", diskId);
  return folder / name;
}

SOverlay CDiskTest::Overlay() const {
  const auto overlay = ParseOverlay(ReadWhole(OverlayFile()));
  if (!overlay) {
    ADD_FAILURE() << "the overlay is not whole";
    return {};
  }
  return *overlay;
}

void CDiskTest::PutOverlay(const std::vector<u8>& bytes) const {
  folder.Write(OverlayFile().filename().string(), bytes);
}

}  // namespace vx::test
