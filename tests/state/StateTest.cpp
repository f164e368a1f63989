#include "tests/state/StateTest.h"

#include <algorithm>
#include <thread>

#include "devices/DiskStore.h"

namespace vx::test {

namespace {

// Numbers that follow from a seed and are the same everywhere.
class CNoise {
 public:
  explicit CNoise(u32 seed) : state_(seed * 2654435761u + 1) {}
  u32 Next() {
    state_ = state_ * 1664525u + 1013904223u;
    return state_ >> 8 ^ state_ << 16;
  }
  template <typename T>
  void Fill(T* target, size_t count) {
    for (size_t i = 0; i < count; ++i) target[i] = static_cast<T>(u64{Next()} << 20 ^ Next());
  }

 private:
  u32 state_;
};

}  // namespace

StateBytes Save(CVXMachine& machine, u8 transient) {
  SStateStream stream;
  machine.SaveState(&stream, transient);
  StateBytes bytes(stream.position);
  stream = {bytes.data(), stream.position, 0, 0};
  machine.SaveState(&stream, transient);
  return bytes;
}

bool Load(CVXMachine& machine, StateBytes bytes) {
  SStateStream stream = {bytes.data(), static_cast<u32>(bytes.size()), 0, 0};
  return machine.LoadState(&stream);
}

void Furnish(CVXMachine& m, u32 seed) {
  CNoise noise(seed);
  noise.Fill(reinterpret_cast<u32*>(m.flatMem), (kLowRamBytes + kMainRamBytes) / 4);
  m.state.frameNumber = noise.Next();
  m.state.boardControl = noise.Next();
  m.state.soundLatch = noise.Next();
  m.state.openBus = noise.Next();
  m.state.randState = noise.Next();
  for (auto& vector : m.state.listenerVectors) {
    for (f32& component : vector) component = static_cast<f32>(noise.Next() & 0xFFFF);
  }
  m.scriptState.markFrame = noise.Next();
  noise.Fill(m.scriptState.playerExtra, 2);
  noise.Fill(m.scriptState.reserved, 16);
  for (const u32 size : {100u, 0u, 7u}) {
    std::vector<u8> bytes(size);
    noise.Fill(bytes.data(), size);
    m.scriptBlobStore[noise.Next()].bytes = bytes;
  }
  noise.Fill(m.cpu.gpr + 1, 31);
  noise.Fill(m.cpu.fpr, 32);
  m.cpu.lo = noise.Next();
  m.cpu.retired = noise.Next();
  for (u32 page = 0; page < 16; ++page) m.pages[page].value = noise.Next();
  noise.Fill(m.sound.state.externalRam, kAdspExternalWords);
  noise.Fill(m.sound.state.dataRam, kAdspDataWords);
  noise.Fill(m.sound.state.bank.ax, 2);
  m.mixer.outputCount = 300;
  noise.Fill(m.mixer.output, 300);
  m.mixer.PrepareTail(m.soundPort);
  m.mixer.tailCount = 50;
  noise.Fill(m.mixer.tail.get(), 50);
  noise.Fill(m.ata.block.record.sectorBuffer, 512);
  noise.Fill(m.ata.identifyData, 256);
  m.ata.timing.extraReadTime = noise.Next() & 0xFFF;
  noise.Fill(m.soundBoard.link.controlRegs, 16);
  for (const u64 sector : {3u, 0u, 20u}) {
    u8 contents[kSectorBytes];
    noise.Fill(contents, kSectorBytes);
    WriteSector(contents, sector, &m);
  }
}

size_t CStateTest::FirstDifference(const StateBytes& a, const StateBytes& b) {
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  return static_cast<size_t>(x - a.begin());
}

void CStateTest::ExpectSame(const StateBytes& a, const StateBytes& b) {
  EXPECT_EQ(a.size(), b.size());
  EXPECT_TRUE(a == b) << "first at byte " << FirstDifference(a, b);
}

BoardPtr CStateTest::Another() {
  BoardPtr other(new CVXMachine);
  const CPackFile file{CTestPack(PackOfCode(CGuestCode().Rest().Words()))};
  EXPECT_TRUE(other->LoadPack(file.Path()));
  other->Reset();
  return other;
}

}  // namespace vx::test
