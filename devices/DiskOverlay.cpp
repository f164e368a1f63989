#include "devices/DiskOverlay.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <vector>

#include "devices/DiskStore.h"
#include "machine/HostAccess.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

constexpr u64 kOverlayMagic = 0xb19d1221ec002e69;
constexpr u64 kOverlayVersion = 2;
constexpr u32 kBitmapWordBits = 64;

struct SOverlayHeader {
  u64 magic;
  u64 version;
  u64 deltaBytes;
};
static_assert(sizeof(SOverlayHeader) == 24);

std::wstring OverlayPath(const CVXMachine& m) {
  return HostCacheFile(L"vxhdd%016llX.qilhardchunk", m.diskId);
}

// Calls a function with each sector whose bit is set in the header's range, in rising order.
template <typename TFunction>
void ForEachDirtySector(const CVXMachine& m, const SDeltaHeader& header, TFunction function) {
  for (u64 word = header.firstDirtyWord; word <= header.lastDirtyWord; ++word) {
    for (u64 left = m.dirtyBitmap[word]; left != 0; left &= left - 1) {
      function(word * kBitmapWordBits + static_cast<u32>(std::countr_zero(left)));
    }
  }
}

bool IsRangeValid(const SDeltaHeader& header) {
  return header.firstDirtyWord <= header.lastDirtyWord && header.lastDirtyWord < header.bitmapWords;
}

u32 RangeBytes(const SDeltaHeader& header) {
  return (header.lastDirtyWord - header.firstDirtyWord + 1) * sizeof(u64);
}

}  // namespace

void WriteDelta(const CVXMachine& m, SStateStream& stream) {
  SDeltaHeader header = m.deltaHeader;
  if (m.dirtyBitmap == nullptr) header = SDeltaHeader{};
  WriteValue(stream, header);
  if (header.bitmapWords == 0) return;
  WriteBytes(stream, m.dirtyBitmap.get() + header.firstDirtyWord, RangeBytes(header));
  ForEachDirtySector(m, header, [&](u64 sector) {
    WriteBytes(stream, m.diskImage.get() + sector * kSectorBytes, kSectorBytes);
  });
}

bool ApplyDelta(CVXMachine& m, SStateStream& stream) {
  SDeltaHeader header;
  if (!ReadValue(stream, header)) return true;
  if (header.bitmapWords == 0) {
    m.dirtyBitmap.reset();
    m.deltaHeader = header;
    return true;
  }
  if (header.bitmapWords != RequiredBitmapWords(m) || !IsRangeValid(header)) return false;
  if (m.dirtyBitmap == nullptr || header.bitmapWords != m.deltaHeader.bitmapWords) {
    m.dirtyBitmap = std::make_unique<u64[]>(header.bitmapWords);
  }
  m.deltaHeader = header;
  u64* const range = m.dirtyBitmap.get() + header.firstDirtyWord;
  if (!ReadBytes(stream, range, RangeBytes(header))) return true;
  // The bits of sectors that this disk does not have are counted, and dropped.
  ForEachDirtySector(m, header, [&](u64 sector) {
    u8 contents[kSectorBytes];
    const bool bThere = ReadBytes(stream, contents, kSectorBytes);
    if (!IsOnDisk(m, sector)) {
      m.dirtyBitmap[sector / kBitmapWordBits] &= ~(u64{1} << (sector % kBitmapWordBits));
      return;
    }
    // The image of a look-ahead clone is its master's, which holds these contents or newer ones.
    if (m.parent != nullptr) return;
    // Also without contents: the sector counts as written, and a delta must not tell it empty.
    WaitForSector(m, sector);
    if (bThere) std::copy_n(contents, kSectorBytes, m.diskImage.get() + sector * kSectorBytes);
  });
  return true;
}

void FlushPendingOverlay(CVXMachine& m) {
  m.flushDeadline = 0.0;
  if (m.bDiskFlush.load(std::memory_order_relaxed) == 0 || m.dirtyBitmap == nullptr) return;
  SStateStream stream;
  WriteDelta(m, stream);
  const SOverlayHeader header = {kOverlayMagic, kOverlayVersion, stream.position};
  std::vector<u8> contents(sizeof(header) + stream.position);
  std::memcpy(contents.data(), &header, sizeof(header));
  stream = {contents.data() + sizeof(header), static_cast<u32>(header.deltaBytes), 0, 0};
  WriteDelta(m, stream);

  const std::wstring path = OverlayPath(m);
  if (!WriteFileWhole(path.c_str(), contents)) return;
  HostLog(ELogLevel::Information, "Flushed qilhardchunk: %ls (delta size: %i)\n", path.c_str(),
          static_cast<i32>(header.deltaBytes));
}

void ReadOverlay(CVXMachine& m) {
  CQuillonFile file;
  if (!file.Open(OverlayPath(m).c_str(), EFileMode::Read)) return;
  const u64 fileBytes = file.Size();
  SOverlayHeader header = {};
  if (fileBytes <= sizeof(header) || file.Read(&header, sizeof(header)) != sizeof(header)) return;
  if (header.magic != kOverlayMagic || header.version != kOverlayVersion) return;
  if (header.deltaBytes == 0 || header.deltaBytes > fileBytes - sizeof(header)) return;

  std::vector<u8> delta(static_cast<u32>(header.deltaBytes));
  if (file.Read(delta.data(), delta.size()) != delta.size()) return;
  SStateStream stream = {delta.data(), static_cast<u32>(delta.size()), 0, 0};
  ApplyDelta(m, stream);
  // A delta of no disk must not leave this one without a bitmap: later writes would be lost.
  if (m.dirtyBitmap == nullptr) {
    m.deltaHeader = SDeltaHeader{};
    m.deltaHeader.bitmapWords = RequiredBitmapWords(m);
    m.dirtyBitmap = std::make_unique<u64[]>(m.deltaHeader.bitmapWords);
  }
}

}  // namespace vx
