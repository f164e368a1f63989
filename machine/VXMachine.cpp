#include "machine/VXMachine.h"

#include <sys/mman.h>

#include <new>

#include "blocks/RecordCache.h"
#include "devices/DiskOverlay.h"
#include "machine/HostAccess.h"
#include "machine/LookAhead.h"
#include "machine/Settings.h"
#include "mips3/Memory.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

constexpr u32 kSoundBankMask = 0x800;

void LogDrive(const char* format, u32 value) { HostLog(ELogLevel::Error, format, value); }

void OnAtaInterrupt(CATADevice*, void* user, u32 level) {
  static_cast<CVXMachine*>(user)->SetCauseLine(kCauseAta, level != 0);
}

}  // namespace

// --- Allocation and life cycle -----------------------------------------------------------------

void* CVXMachine::operator new(size_t bytes) {
  void* const object = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (object == MAP_FAILED) throw std::bad_alloc();
  return object;
}

void CVXMachine::operator delete(void* object) { munmap(object, sizeof(CVXMachine)); }

CVXMachine::CVXMachine() {
  state.inputPort0 = state.inputPort1 = state.boardStatus = state.dipPort = ~u64{0};

  // Registration order decides event ids, and ids decide ties and the state format.
  queue.Initialise(PreciseTime, this);
  ata.Construct(&queue, {OnSectorTouched, ReadSector, WriteSector, this}, LogDrive);
  soundBoard.Construct(
      &sound, {flatMem + kFlatSoundRoms, kSoundRomCount, kRomBytes, kSoundBankMask}, &queue);
  ata.SetInterruptCallback(OnAtaInterrupt, this);
  queue.AddRebased(&state.mainTime);
  queue.AddRebased(&state.soundTime);
  InitialiseProcessor(this);
  sound.board = &soundBoard;
  sound.hooks = &dspPatchList;
  sound.Construct(kSoundClockMHz, &queue, &soundPort, kMainProcessor);
  soundBoard.PlaceHandlers();
  BuildIoTables(*this);
  packCylinders = 100;
  packHeads = 10;
  packSectorsPerTrack = 10;

  clientIndex = queue.AddClient(RunTo, this, 0.0);
  queue.AddListener(OnEarliestEvent, this);
  videoEventEndId = queue.Register(OnVideoEventEnd, this);
  videoEventStartId = queue.Register(OnVideoEventStart, this);
  ApplySettings();
  Reset();
}

CVXMachine::~CVXMachine() {
  for (auto& worker : workers) worker.reset();
  if (flushDeadline != 0.0) FlushPendingOverlay(*this);
  StoreRecordCache(*this);
  StopDiskReader(*this);
  bLoaded = 0;
  mixer.DestroySources(soundPort);
  instances.Clear(queue);
}

void* CVXMachine::Destruct(u32 deleteFlag) noexcept {
  this->~CVXMachine();
  if ((deleteFlag & 1) != 0) operator delete(this);
  return this;
}

// --- Small boundary operations -----------------------------------------------------------------

u32 CVXMachine::GetWidth() noexcept { return videoWidth; }
u32 CVXMachine::GetHeight() noexcept { return videoHeight; }
u8* CVXMachine::GetMemoryImage() noexcept { return flatMem; }
bool CVXMachine::IsLoaded() noexcept { return bLoaded != 0; }
u64 CVXMachine::GetFrameCount() noexcept { return state.frameNumber; }

i64 CVXMachine::GetSampleRate() noexcept { return soundBoard.SampleRate(); }

void CVXMachine::ApplySettings() noexcept {
  pendingDipWord.store(EffectiveDipWord());
  frameRateRequested.store(EffectiveFrameRate());
  pendingClockMHz.store(EffectiveClockMHz());
  pendingExtraReadTimeUs.store(EffectiveExtraReadTimeUs());
  bDiskFlush.store(DiskFlushSetting(), std::memory_order_relaxed);
  bPreserveCache.store(PreserveCacheSetting(), std::memory_order_relaxed);
  bRandomStart.store(RandomStartSetting(), std::memory_order_relaxed);
}

u32 CVXMachine::TranslateButtons(i32 buttons) noexcept {
  struct SMove {
    u32 from, to;
  };
  static constexpr SMove kMoves[] = {{0x1, 0x80}, {0x2, 0x10}, {0x4, 0x20}, {0x8, 0x100},
                                     {0x20, 0x1}, {0x40, 0x2}, {0x80, 0x4}, {0x100, 0x8}};
  u32 result = 0;
  for (const SMove& move : kMoves) {
    if ((static_cast<u32>(buttons) & move.from) != 0) result |= move.to;
  }
  return result;
}

bool CVXMachine::TranslateAddress(u64* address) noexcept {
  if (address != nullptr) *address = FlatIndexOfVirtual(this, static_cast<u32>(*address));
  return true;
}

u64 CVXMachine::HashState() noexcept {
  constexpr u32 kHashedRamStart = 0x3FA00;
  constexpr u32 kHashedRamBytes = 5120;
  if (Host().HashData == nullptr || Host().HashDataMore == nullptr) return 0;
  const u64 hash = Host().HashData(&cpu, sizeof(cpu));
  return Host().HashDataMore(flatMem + kHashedRamStart, kHashedRamBytes, hash);
}

// --- Interrupt lines and slices ----------------------------------------------------------------

void CVXMachine::CutSlice() {
  if (cpu.budget == 0) return;
  if (cpu.stopMark == 0) cpu.stopMark = cpu.cycles + 1;
  cpu.cycles = cpu.budget;
}

void CVXMachine::SetCauseLine(u32 line, bool bRaised) {
  u64& cause = cpu.cop0[kCop0Cause];
  const u64 changed = bRaised ? cause | line : cause & ~u64{line};
  if (changed == cause) return;
  cause = changed;
  CutSlice();
}

}  // namespace vx
