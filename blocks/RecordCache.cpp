#include "blocks/RecordCache.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "blocks/BlockTable.h"
#include "machine/HostAccess.h"
#include "machine/VXMachine.h"
#include "mips3/Breakpoints.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

bool KeepsRecords(const CVXMachine& m) {
  return m.bLoaded != 0 && m.packHash != 0 && m.parent == nullptr &&
         m.bPreserveCache.load(std::memory_order_relaxed) != 0;
}

std::wstring CachePath(const CVXMachine& m) {
  return HostCacheFile(L"vxcache%016llX.qilmcache", m.packHash);
}

bool IsValid(const CVXMachine& m, u32 index) { return (m.records[index].flags & kOpValid) != 0; }

template <typename T>
void Append(std::vector<u8>& bytes, const T& value) {
  const size_t at = bytes.size();
  bytes.resize(at + sizeof(T));
  std::memcpy(bytes.data() + at, &value, sizeof(T));
}

// Reads values one after the other and tells where the bytes end.
class CReader {
 public:
  explicit CReader(const std::vector<u8>& bytes) : bytes_(bytes) {}
  template <typename T>
  bool Read(T& value) {
    if (bytes_.size() - position_ < sizeof(T)) return false;
    std::memcpy(&value, bytes_.data() + position_, sizeof(T));
    position_ += sizeof(T);
    return true;
  }

 private:
  const std::vector<u8>& bytes_;
  size_t position_ = 0;
};

// What forming does for a record whose word, flags and link stand.
void RebuildRecord(CVXMachine& m, u32 runStart, u32 index) {
  SPredecodedOp& record = m.records[index];
  if ((record.flags & kOpDelayOp) == 0 && index << 2 < kFlatBootRom) {
    record.native = LookUpBlock(&m, record.word, index << 2);
    if (record.native != nullptr) record.flags |= kOpNative;
  }
  record.handler = ChooseHandler(record.word);
  record.dispatch = ChooseDispatch(record.word);
  if ((record.flags & kOpBreakMask) != 0) InstallBreakpoint(&m, runStart, index);
}

// One run: all words first, since a match may need the words behind its own.
bool ReadRun(CVXMachine& m, CReader& reader) {
  u16 count = 0;
  u32 first = 0;
  if (!reader.Read(count) || count == 0 || !reader.Read(first)) return false;
  u32 read = 0;
  SCachedRecord cached;
  for (; read < count && reader.Read(cached); ++read) {
    const u64 index = u64{first} + read;
    if (index >= kRecordCount) continue;
    std::memcpy(m.flatMem + index * sizeof(u32), &cached.word, sizeof(u32));
    SPredecodedOp& record = m.records[index];
    record.word = cached.word;
    record.flags = cached.flags & ~u32{kOpNative};  // matched anew
    record.link = cached.link;
    m.TouchRecord(static_cast<u32>(index));
  }
  const u32 end = static_cast<u32>(std::min<u64>(u64{first} + read, kRecordCount));
  for (u32 index = first; index < end; ++index) RebuildRecord(m, first, index);
  return read == count;
}

// Whether a record's block lies in the array and covers it.
bool HasSoundLink(const CVXMachine& m, u32 index) {
  const SPredecodedOp& record = m.records[index];
  if ((record.flags & kOpHead) != 0) {
    return record.link != 0 && record.link <= kRecordCount - index;
  }
  if (record.link >= index) return false;
  const SPredecodedOp& head = m.records[record.link];
  constexpr u32 kValidHead = kOpValid | kOpHead;
  return (head.flags & kValidHead) == kValidHead && index - record.link < head.link;
}

// Records that no replay could run are formed anew when they are reached: heads first, since the
// others are judged by theirs. Every record in a sound head's range gets a handler.
void DropUnsoundRecords(CVXMachine& m) {
  const auto dropUnsound = [&](bool bHeads) {
    for (u32 index = 0; index < kRecordCount; ++index) {
      SPredecodedOp& record = m.records[index];
      const bool bHead = (record.flags & kOpHead) != 0;
      if (!IsValid(m, index) || bHead != bHeads || HasSoundLink(m, index)) continue;
      record.flags &= ~u32{kOpValid | kOpNative};
    }
  };
  dropUnsound(true);
  dropUnsound(false);
  u32 coveredEnd = 0;  // of the heads up to here
  for (u32 index = 0; index < kRecordCount; ++index) {
    SPredecodedOp& record = m.records[index];
    if (IsValid(m, index) && (record.flags & kOpHead) != 0) {
      coveredEnd = std::max(coveredEnd, index + record.link);
      m.longestBlock = std::max(m.longestBlock, record.link);
    }
    if (index >= coveredEnd || record.handler != nullptr) continue;
    std::memcpy(&record.word, m.flatMem + u64{index} * sizeof(u32), sizeof(u32));
    record.handler = ChooseHandler(record.word);
    record.dispatch = ChooseDispatch(record.word);
    m.TouchRecord(index);
  }
}

}  // namespace

std::vector<u8> PackRecordCache(const CVXMachine& m) {
  std::vector<u8> bytes;
  Append(bytes, SRecordCacheHeader{kRecordCacheMagic, kRecordCacheVersion, kRecordCount});
  for (u32 index = 0; index < kRecordCount;) {
    if (!IsValid(m, index)) {
      ++index;
      continue;
    }
    u32 count = 1;
    while (count < kRecordCacheMaxRun && index + count < kRecordCount &&
           IsValid(m, index + count)) {
      ++count;
    }
    Append(bytes, static_cast<u16>(count));
    Append(bytes, index);
    for (const u32 end = index + count; index < end; ++index) {
      const SPredecodedOp& record = m.records[index];
      Append(bytes, SCachedRecord{record.word, record.flags & ~u32{kOpBreakMask}, record.link});
    }
  }
  Append(bytes, u16{0});
  return bytes;
}

void StoreRecordCache(CVXMachine& m) {
  if (!KeepsRecords(m)) return;
  WriteFileWhole(CachePath(m).c_str(), PackRecordCache(m));
}

void LoadRecordCache(CVXMachine& m) {
  if (!KeepsRecords(m)) return;
  CQuillonFile file;
  if (!file.Open(CachePath(m).c_str(), EFileMode::Read)) return;
  std::vector<u8> bytes(file.Size());
  bytes.resize(file.Read(bytes.data(), bytes.size()));
  CReader reader(bytes);
  SRecordCacheHeader header;
  if (!reader.Read(header) || header.magic != kRecordCacheMagic ||
      header.version != kRecordCacheVersion || header.recordCount == 0) {
    return;
  }
  while (ReadRun(m, reader)) {
  }
  DropUnsoundRecords(m);
}

}  // namespace vx
