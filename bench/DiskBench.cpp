// The disk store: how fast the reader inflates a disk, beside zlib's own function on the same data,
// and what a sector costs that is in.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "bench/GuestCode.h"
#include "devices/DiskStore.h"
#include "host/Inflate.h"
#include "machine/HostAccess.h"

namespace vx::bench {

namespace {

constexpr u32 kChunkBytes = 65536;
constexpr u32 kChunks = 128;
constexpr u64 kDiskBytes = u64{kChunks} * kChunkBytes;

// Chunks as a disk of programs and pictures packs: words out of a small vocabulary, with noise.
std::vector<std::vector<u8>> PackedChunks() {
  std::mt19937 random(4);
  std::vector<std::vector<u8>> chunks;
  for (u32 i = 0; i < kChunks; ++i) {
    std::vector<u8> plain(kChunkBytes);
    for (u32 at = 0; at < kChunkBytes; at += 8) {
      const u64 word = (random() % 200) * 0x9E3779B97F4A7C15;
      std::memcpy(plain.data() + at, &word, sizeof(word));
      if (random() % 4 == 0) plain[at + random() % 8] = static_cast<u8>(random());
    }
    uLongf bytes = compressBound(kChunkBytes);
    std::vector<u8> packed(bytes);
    compress2(packed.data(), &bytes, plain.data(), kChunkBytes, 9);
    packed.resize(bytes);
    chunks.push_back(packed);
  }
  return chunks;
}

void Inflate(void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32) {
  InflateBlock(target, targetBytes, source, sourceBytes);
}

// A machine with a disk of these chunks, as the pack loader leaves it.
class CDiskMachine {
 public:
  explicit CDiskMachine(const std::vector<std::vector<u8>>& chunks) : guest_({}) {
    host_.Inflate = Inflate;
    SetHost(&host_);
    CVXMachine& m = guest_.Get();
    const std::string name = "vxbench.disk";
    std::FILE* const file = std::fopen(name.c_str(), "wb");
    m.chunkTable = std::make_unique<SChunkRecord[]>(kChunks);
    u64 offset = 0;
    for (u32 i = 0; i < kChunks && file != nullptr; ++i) {
      m.chunkTable[i].fileOffset = offset;
      m.chunkTable[i].packedSize = static_cast<u16>(chunks[i].size());
      offset += std::fwrite(chunks[i].data(), 1, chunks[i].size(), file);
    }
    if (file != nullptr) std::fclose(file);
    m.packFile = std::make_shared<CQuillonFile>();
    m.packFile->Open(std::wstring(name.begin(), name.end()).c_str(), EFileMode::Read);
    std::remove(name.c_str());
    m.chunkBytes = kChunkBytes;
    m.chunkCount = kChunks;
    m.sectorBytes = kSectorBytes;
    m.sectorsPerChunk = kChunkBytes / kSectorBytes;
    m.diskBytes = kDiskBytes;
    m.diskSectors = kDiskBytes / kSectorBytes;
    m.diskImage = std::make_shared<u8[]>(kDiskBytes);
  }
  ~CDiskMachine() { SetHost(nullptr); }

  CVXMachine& Get() { return guest_.Get(); }
  void Forget() {
    for (u32 i = 0; i < kChunks; ++i) Get().chunkTable[i].bReady = 0;
    Get().bAllChunksLoaded = 0;
  }
  // Runs a reader to the end of the disk.
  void ReadAll() {
    StartDiskReader(Get());
    Get().readerThread->thread.join();
    Get().readerThread.reset();
  }

 private:
  SHostApi host_{};
  CGuestMachine guest_;
};

void BM_InflateByZlib(benchmark::State& state) {
  const std::vector<std::vector<u8>> chunks = PackedChunks();
  std::vector<u8> image(kDiskBytes);
  for (auto _ : state) {
    for (u32 i = 0; i < kChunks; ++i) {
      uLongf bytes = kChunkBytes;
      uncompress(image.data() + u64{i} * kChunkBytes, &bytes, chunks[i].data(), chunks[i].size());
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<i64>(state.iterations() * kDiskBytes));
}
BENCHMARK(BM_InflateByZlib)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_InflateByReader(benchmark::State& state) {
  const std::vector<std::vector<u8>> chunks = PackedChunks();
  CDiskMachine disk(chunks);
  for (auto _ : state) {
    disk.Forget();
    disk.ReadAll();
    if (disk.Get().bAllChunksLoaded == 0) state.SkipWithError("the disk is not whole");
  }
  state.SetBytesProcessed(static_cast<i64>(state.iterations() * kDiskBytes));
}
BENCHMARK(BM_InflateByReader)->Unit(benchmark::kMillisecond)->UseRealTime();

// Sectors in an order that neither the caches nor the prefetcher foresee, or one behind the other.
void BM_ReadResidentSector(benchmark::State& state) {
  CDiskMachine disk(PackedChunks());
  disk.ReadAll();
  u8 buffer[kSectorBytes];
  const u64 step = state.range(0) != 0 ? 7919 : 1;
  u64 sector = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ReadSector(buffer, sector, &disk.Get()));
    benchmark::ClobberMemory();
    sector = (sector + step) % (kDiskBytes / kSectorBytes);
  }
}
BENCHMARK(BM_ReadResidentSector)->ArgName("scattered")->Arg(0)->Arg(1);

}  // namespace

}  // namespace vx::bench
