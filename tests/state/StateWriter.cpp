#include "tests/state/StateWriter.h"

namespace vx::test {

namespace {

class CWriter {
 public:
  void Item(const void* data, size_t bytes) {
    boundaries.push_back(static_cast<u32>(stream.size()));
    const u8* const begin = static_cast<const u8*>(data);
    stream.insert(stream.end(), begin, begin + bytes);
  }
  template <typename T>
  void Value(T value) {
    Item(&value, sizeof(value));
  }

  StateBytes stream;
  std::vector<u32> boundaries;
};

void WriteTimeline(CWriter& out, const CVXMachine& m) {
  out.Value<f64>(m.queue.LastFired());
  out.Value<u32>(static_cast<u32>(m.queue.Entries().size()));
  out.Value<u32>(1);
  for (const SEvent& event : m.queue.Entries()) {
    u8 bytes[24] = {};
    std::memcpy(bytes, &event.time, 8);
    std::memcpy(bytes + 8, &event.id, 4);
    std::memcpy(bytes + 16, &event.userData, 8);
    out.Item(bytes, sizeof(bytes));
  }
  out.Value<f64>(m.queue.ClientTime(0));
}

void WriteDisk(CWriter& out, const CVXMachine& m) {
  if (m.dirtyBitmap == nullptr) {
    out.Item(StateBytes(24).data(), 24);
    return;
  }
  const u32 first = m.deltaHeader.firstDirtyWord;
  const u32 last = m.deltaHeader.lastDirtyWord;
  out.Item(&m.deltaHeader, 24);
  out.Item(&m.dirtyBitmap[first], (last - first) * 8 + 8);
  for (u64 bit = u64{first} * 64; bit < u64{last} * 64 + 64; ++bit) {
    if ((m.dirtyBitmap[bit / 64] >> bit % 64 & 1) != 0) out.Item(&m.diskImage[bit * 512], 512);
  }
}

void WriteInstances(CWriter& out, const CVXMachine& m) {
  out.Value<u32>(static_cast<u32>(m.instances.slots.size()));
  for (const SDspInstanceSlot& slot : m.instances.slots) {
    out.Value(slot.time);
    out.Value(slot.reserved8);
    out.Item(slot.position, 28);
    out.Item(&slot.instance->processor.state, 13792);
    out.Item(&slot.instance->board.link, 120);
  }
}

CWriter Write(const CVXMachine& m, u32 version, u8 transient) {
  CWriter out;
  out.Value(version);
  out.Item(m.flatMem, 0x80000);
  out.Item(m.flatMem + 0x80000, 0x800000);
  out.Item(&m.state, 160);
  if (version >= 2) out.Item(&m.scriptState, 32);
  if (version >= 3) {
    out.Value(static_cast<u32>(m.scriptBlobStore.size()));
    for (const auto& [key, blob] : m.scriptBlobStore) {
      out.Value<u64>(key);
      out.Value(static_cast<u32>(blob.bytes.size()));
      out.Item(blob.bytes.data(), blob.bytes.size());
    }
  }
  WriteTimeline(out, m);
  out.Item(&m.cpu, 3696);
  out.Item(m.pages, 16384);
  if (m.cpu.mapHigh >= m.cpu.mapLow) {
    out.Item(m.pages + m.cpu.mapLow, (m.cpu.mapHigh - m.cpu.mapLow) * 8 + 8);
  }
  out.Item(&m.sound.state, 13792);
  out.Value<u32>(m.mixer.outputCount);
  out.Item(m.mixer.output, 2 * m.mixer.outputCount);
  if (version >= 4) {
    out.Value<u32>(m.mixer.tailCount);
    out.Item(m.mixer.tail.get(), 4 * m.mixer.tailCount);
  }
  out.Item(&m.ata.block, 584);
  if (version >= 4) out.Item(&m.ata.timing, 32);
  out.Item(m.ata.identifyData, 512);
  out.Item(&m.soundBoard.link, 120);
  out.Value(transient);
  WriteDisk(out, m);
  WriteInstances(out, m);
  out.boundaries.push_back(static_cast<u32>(out.stream.size()));
  return out;
}

}  // namespace

StateBytes WriteState(const CVXMachine& machine, u32 version, u8 transient) {
  return Write(machine, version, transient).stream;
}

std::vector<u32> ItemBoundaries(const CVXMachine& machine, u32 version) {
  return Write(machine, version, 0).boundaries;
}

}  // namespace vx::test
