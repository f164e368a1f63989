#include "machine/LookAhead.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "machine/StateFormat.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

constexpr std::chrono::milliseconds kWait{4};
// What a frame of the master sets for itself, and leaves to the next as it was.
constexpr u32 kFrameOwnFlags = 0x3FF8;
static_assert(kFrameOwnFlags == 2 * kFrameFlipWhileArmed - kFrameLookAhead);

i32 AlwaysConvert(CQuillonMachineBase*) { return 1; }

using BreakpointMap = CVXMachine::BreakpointMap;

bool AreSame(const BreakpointMap& x, const BreakpointMap& y) {
  return std::equal(x.begin(), x.end(), y.begin(), y.end(), [](const auto& a, const auto& b) {
    return a.first == b.first && a.second->underlying == b.second->underlying &&
           a.second->callbackIds == b.second->callbackIds;
  });
}

// A copy with entries of its own: a script may change the master's while the clone runs.
BreakpointMap CopyOf(const BreakpointMap& map) {
  BreakpointMap copy;
  for (const auto& [offset, entry] : map) {
    copy[offset] = std::make_shared<CVXMachine::SMIPSBreakpointMapEntry>(*entry);
  }
  return copy;
}

// Copies the groups of records that either side has written.
void CopyRecords(const CVXMachine& from, CVXMachine& to) {
  constexpr u32 kGroupRecords = 1u << CVXMachine::kRecordGroupShift;
  for (u32 word = 0; word < std::size(from.recordGroups); ++word) {
    const u64 groups = from.recordGroups[word] | to.recordGroups[word];
    for (u32 bit = 0; bit < 64; ++bit) {
      if ((groups >> bit & 1) == 0) continue;
      const u64 first = (u64{word} * 64 + bit) * kGroupRecords;
      std::memcpy(to.records + first, from.records + first, kGroupRecords * sizeof(SPredecodedOp));
    }
    to.recordGroups[word] = from.recordGroups[word];
  }
  to.longestBlock = from.longestBlock;
}

}  // namespace

// --- Life of a worker --------------------------------------------------------------------------

CLookAheadWorker::CLookAheadWorker(CVXMachine& master, const SStateStream& state)
    : parent_(&master) {
  thread_.function = [](void* worker) { static_cast<CLookAheadWorker*>(worker)->RunThread(); };
  thread_.argument = this;
  thread_.handle = std::make_unique<std::thread>(thread_.function, thread_.argument);
  while (master.bAllChunksLoaded.load(std::memory_order_acquire) == 0) std::this_thread::yield();
  MakeClone(state);
}

CLookAheadWorker::~CLookAheadWorker() {
  thread_.bStop.store(1, std::memory_order_release);
  startEvent_->Signal();
  thread_.handle->join();
  if (clone_ != nullptr) clone_->Destruct(1);
}

void CLookAheadWorker::MakeClone(const SStateStream& state) {
  clone_ = new CVXMachine;
  CVXMachine& clone = *clone_;
  CVXMachine& master = *parent_;
  clone.diskImage = master.diskImage;
  clone.diskBytes = master.diskBytes;
  clone.diskSectors = master.diskSectors;
  clone.diskId = master.diskId;
  clone.packCylinders = master.packCylinders;
  clone.packHeads = master.packHeads;
  clone.packSectorsPerTrack = master.packSectorsPerTrack;
  clone.chunkCount = master.chunkCount;
  clone.chunkBytes = master.chunkBytes;
  clone.sectorBytes = master.sectorBytes;
  clone.sectorsPerChunk = master.sectorsPerChunk;
  clone.bAllChunksLoaded = 1;
  // From here on resets read neither overlay nor record cache, and nothing arms a flush.
  clone.parent = &master;
  clone.packHash = master.packHash;
  clone.soundRomHash = master.soundRomHash;
  clone.bRandomStart = master.bRandomStart.load(std::memory_order_relaxed);
  clone.bIoLayoutB = master.bIoLayoutB;
  clone.bLoaded = 1;
  clone.Reset();
  BuildIoTables(clone);
  clone.onVideoFilter = AlwaysConvert;
  clone.queue.ReplaceClient(clone.clientIndex, CVXMachine::RunMainTo, clone_);
  Refresh();
  std::memcpy(clone.flatMem, master.flatMem, kFlatBytes);
  SStateStream stream = state;
  stream.position = 0;
  clone.LoadState(&stream);
}

void CLookAheadWorker::Refresh() {
  CopyRecords(*parent_, *clone_);
  if (AreSame(parent_->breakpointMap, clone_->breakpointMap)) return;
  clone_->breakpointMap = CopyOf(parent_->breakpointMap);
}

// --- A branch ----------------------------------------------------------------------------------

void CLookAheadWorker::Start(const SStateStream& state, u8 branchNumber) {
  branch_ = branchNumber;
  stateData_ = state.data;
  stateSize_ = state.capacity;
  {
    const std::lock_guard lock(parent_->inputLock);
    clone_->inputCount = parent_->inputCount;
    std::copy_n(parent_->inputRecords, parent_->inputCount, clone_->inputRecords);
  }
  bBusy_.store(1, std::memory_order_release);
  startEvent_->Signal();
}

u32* CLookAheadWorker::Wait() {
  while (IsBusy()) doneEvent_->WaitFor(kWait);
  u32& flags = clone_->state.frameFlags;
  if ((flags & kFrameTimedOut) == 0) return clone_->frameTarget;
  flags &= ~u32{kFrameTimedOut};
  return nullptr;
}

void CLookAheadWorker::RunThread() {
  while (thread_.bStop.load(std::memory_order_acquire) == 0) {
    startEvent_->WaitFor(kWait);
    if (!IsBusy()) continue;
    RunBranch();
    bBusy_.store(0, std::memory_order_release);
    doneEvent_->Signal();
  }
}

void CLookAheadWorker::RunBranch() {
  SStateStream stream = {stateData_, stateSize_, 0, 0};
  clone_->LoadState(&stream);
  // The master has events that the clone lacks, as those of its sound clones.
  clone_->queue.DropUnknownIds();
  u32& flags = clone_->state.frameFlags;
  flags = branch_ == 1 ? flags | kFrameBranchOne : flags & ~u32{kFrameBranchOne};
  clone_->FrameStep();
  clone_->soundBoard.sampleCount = 0;
}

// --- The master's frame ------------------------------------------------------------------------

void CVXMachine::StartBranches() {
  if (stateBuffer == nullptr) stateBuffer.reset(new u8[kStateBufferBytes]);
  SStateStream stream = {stateBuffer.get(), kStateBufferBytes, 0, 0};
  SaveState(&stream, 1);
  // A state that is larger than the buffer is cut off, and read as short as it is.
  stream.capacity = std::min(stream.position, kStateBufferBytes);
  if (workers[0] == nullptr) {
    for (auto& worker : workers) worker = std::make_unique<CLookAheadWorker>(*this, stream);
  }
  if (bPredecodeChanged != 0) {
    bPredecodeChanged = 0;
    for (auto& worker : workers) worker->Refresh();
  }
  for (u8 branch = 0; branch < 2; ++branch) workers[branch]->Start(stream, branch);
}

// The master's own frame counts as speculative and is shown only if a branch has no picture.
void CVXMachine::RunLookAheadFrame() {
  const bool bShown = onVideoFilter != nullptr && onVideoFilter(this) == 1;
  u32& flags = state.frameFlags;
  flags &= ~u32{kFrameTimedOut | kFrameBesideWorkers};
  const u32 entryFlags = flags;
  if (bShown) StartBranches();
  flags &= ~u32{kFrameLookAhead | kFrameRequest2 | kFrameRequest4};
  flags |= kFrameTimedOut | kFrameBesideWorkers;
  FrameStep();
  MixFrame();
  flags = (flags & ~kFrameOwnFlags) | (entryFlags & kFrameOwnFlags);
  if (!bShown || workers[0] == nullptr) return;

  u32* const first = workers[0]->Wait();
  u32* const second = workers[1]->Wait();
  if (first != nullptr && second != nullptr && onDualFrame != nullptr) {
    onDualFrame(this, first, second, videoWidth, videoHeight);
  } else if (onVideoFrame != nullptr) {
    onVideoFrame(this, frameTarget, videoWidth, videoHeight, 0, 0, 0, 0);
  }
}

}  // namespace vx
