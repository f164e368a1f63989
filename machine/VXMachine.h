// CVXMachine: the whole board as one object in one allocation. Everything that a guest can see lies
// in it at a fixed place, so that one pointer reaches it all: op handlers and generated code take
// the machine and nothing else, a clone is a second object, and a save state is a walk over fields.
//
// Reading order is memory order. Large arrays come zeroed from fresh pages of the system and are
// not written at construction. One thread at a time runs a machine; what another thread may touch
// is atomic or under inputLock.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <type_traits>
#include <vector>

#include "base/AutoResetEvent.h"
#include "base/File.h"
#include "devices/ATADevice.h"
#include "devices/DiskStore.h"
#include "devices/IoTables.h"
#include "machine/EventQueue.h"
#include "machine/MachineSoundPort.h"
#include "mips3/AddressMap.h"
#include "mips3/Context.h"
#include "plugin/Quillon.h"
#include "sound/ADSP.h"
#include "sound/DspInstances.h"
#include "sound/Mixer.h"
#include "sound/SoundBoard.h"

namespace vx {

class CLookAheadWorker;

enum EFrameFlag : u32 {
  kFrameScriptListener = 0x1,  // listener vectors are given by a script
  kRunFlagSoundPhase = 0x2,    // toggles with the sound strobe
  kFrameRandomStart = 0x4,     // ROM reads cost a random time
  kFrameLookAhead = 0x8,
  kFrameBranchOne = 0x10,  // this clone is branch 1
  kFrameArmed = 0x20,      // a frame request waits for page flips
  kFrameNoCapture = 0x40,  // conversion is suppressed
  kFrameRequest2 = 0x80,
  kFrameRequest4 = 0x100,
  kFrameStopLookAhead = 0x200,
  kRunFlagPageFlipped = 0x400,  // parity of the guest's page flips
  kFrameTimedOut = 0x800,       // or: the master's own frame in look-ahead
  kFrameBesideWorkers = 0x1000,
  kFrameFlipWhileArmed = 0x2000,
};

// saved: the state block, a format.
struct SMachineState {
  u64 frameNumber;
  f64 mainTime;  // main processor time on the queue's timeline
  f64 soundTime;
  f64 framePeriodUs;
  u32 boardControl;  // bit 2 selects the display page
  u32 soundStrobe;
  u32 soundLatch;
  u32 padding44;
  u64 inputPort0;  // active low
  u64 inputPort1;
  u64 boardStatus;
  u64 dipPort;
  u64 openBus;  // what the last write to nowhere left behind
  f64 frameRateInForce;
  u32 randState;
  u32 soundForwardCount;
  u32 frameFlags;  // EFrameFlag
  u32 bInvertRight;
  f32 listenerVectors[4][3];
};
static_assert(sizeof(SMachineState) == 160);
static_assert(offsetof(SMachineState, boardControl) == 32);
static_assert(offsetof(SMachineState, inputPort0) == 48);
static_assert(offsetof(SMachineState, openBus) == 80);
static_assert(offsetof(SMachineState, randState) == 96);
static_assert(offsetof(SMachineState, frameFlags) == 104);
static_assert(offsetof(SMachineState, listenerVectors) == 112);

// saved: the second block, a format. Survives a reset.
struct SScriptState {
  u64 markFrame;  // ScriptMarkFrame
  u32 playerExtra[2];
  u8 reserved[16];
};
static_assert(sizeof(SScriptState) == 32);

// A byte buffer that scripts keep in the machine.
struct SScriptBlob {
  std::vector<u8> bytes;
};

inline constexpr u32 kVideoWidth = 320;
inline constexpr u32 kVideoHeight = 240;

class CVXMachine final : public CQuillonMachineBase {
 public:
  // Callbacks behind a guest code word.
  struct SMIPSBreakpointMapEntry {
    OpHandler underlying = nullptr;
    std::vector<u32> callbackIds;
  };
  using BreakpointMap = std::map<u32, std::shared_ptr<SMIPSBreakpointMapEntry>>;

  CVXMachine();
  ~CVXMachine();
  // Fresh zero pages of the system; allocation failure ends the process.
  static void* operator new(size_t bytes);
  static void operator delete(void* object);

  // --- Boundary, in slot order -----------------------------------------------------------------
  void* Destruct(u32 deleteFlag) noexcept override;
  bool LoadPack(const wchar_t* path) noexcept override;
  u32 GetWidth() noexcept override;
  u32 GetHeight() noexcept override;
  i64 GetSampleRate() noexcept override;
  u8* GetMemoryImage() noexcept override;
  void Reset() noexcept override;
  bool IsLoaded() noexcept override;
  void SaveState(SStateStream* stream, u8 transient) noexcept override;
  bool LoadState(SStateStream* stream) noexcept override;
  u64 GetFrameCount() noexcept override;
  void RunFrame() noexcept override;
  void SetInput(const SInputRecord* records, u32 count) noexcept override;
  void ApplySettings() noexcept override;
  u32 TranslateButtons(i32 buttons) noexcept override;
  bool TranslateAddress(u64* address) noexcept override;
  u64 HashState() noexcept override;

  // --- Steps of a frame, for the workers and for tests -----------------------------------------
  // Runs one frame without presenting it.
  void FrameStep();
  // Arms both video events anew if the requested frame rate is not the one in force.
  void ArmVideoEvents();
  // Converts the selected page into FrameTarget.
  void CaptureFrame();
  // Tells scripts of a reset or a loaded state: those that wait for a machine's first one, then
  // all; and of a picture taken from this page (script/ScriptHooks.cpp).
  void RunResetHooks();
  void RunFrameHooks(u32 page);
  // Hands the frame's samples to the host.
  void MixFrame();
  // Replaces the clones of the sound processor by so many new ones of its present state; 0 leaves
  // none. A look-ahead clone of the machine has none.
  void SetInstanceCount(u32 count);
  // Sets or clears an interrupt line in Cause; a change ends a running slice.
  void SetCauseLine(u32 line, bool bRaised);
  // What LoadState does behind both RAMs: the rest of the stream, and what makes it fit to run.
  bool LoadBehindMemory(SStateStream& stream, u32 version);
  // The queue client of a look-ahead clone: the main processor alone.
  static f64 RunMainTo(void* context, f64 target);
  // Ends the main processor's running slice at its present cycle; nothing outside a slice.
  void CutSlice();
  // Remembers that the record with this index has been written, so that a reset clears it.
  void TouchRecord(u32 index) {
    recordGroups[index >> kRecordGroupShift >> 6] |= u64{1} << (index >> kRecordGroupShift & 63);
  }

  // --- Processor record: saved; its own header tells the places --------------------------------
  SMIPS3Context cpu;

  alignas(4096) SPageEntry pages[kPageCount];  // saved in part

  // --- Processor: wiring -----------------------------------------------------------------------
  CEventQueue* cpuQueue = nullptr;
  SPredecodedOp* cpuRecords = nullptr;
  u8* cpuFlatMem = nullptr;
  u32 cpuRecordCount = 0;
  BreakpointMap* cpuBreakpoints = nullptr;
  u32 timerEventId = CEventQueue::kNoId;

  // --- Sound processor: its state is saved -----------------------------------------------------
  CADSP sound;
  CMachineSoundPort soundPort{*this};

  // --- Guest memory image: both RAMs are saved -------------------------------------------------
  alignas(4096) u8 flatMem[kFlatBytes];

  // --- Predecoded records: derived -------------------------------------------------------------
  alignas(4096) SPredecodedOp records[kRecordCount];
  // One bit for each 64 KiB of records that has been written since the last reset.
  static constexpr u32 kRecordGroupShift = 11;
  static constexpr u32 kRecordGroupCount = kRecordCount >> kRecordGroupShift;
  u64 recordGroups[(kRecordGroupCount + 63) / 64] = {};
  u32 longestBlock = 0;  // most records that a head has spanned since the last reset

  BreakpointMap breakpointMap;
  std::vector<SDspPatch> dspPatchList;

  // --- I/O tables: derived from the register layout --------------------------------------------
  SIoReadRow ioRead[kIoRowCount] = {};
  SIoWriteRow ioWrite[kIoRowCount] = {};

  // --- Disk ------------------------------------------------------------------------------------
  std::shared_ptr<u8[]> diskImage;
  u64 diskBytes = 0;
  u64 diskSectors = 0;
  u64 diskId = 0;
  u32 packCylinders = 0;
  u32 packHeads = 0;
  u32 packSectorsPerTrack = 0;
  u32 chunkCount = 0;
  u32 chunkBytes = 0;
  u32 sectorBytes = 0;
  u32 sectorsPerChunk = 0;
  f64 flushDeadline = 0.0;  // host clock; 0: nothing waits
  std::atomic<u8> bAllChunksLoaded{0};
  std::atomic<u32> wantedChunk{kNoWantedChunk};
  std::unique_ptr<u64[]> dirtyBitmap;
  std::unique_ptr<SChunkRecord[]> chunkTable;  // lives as long as the reader needs it
  std::unique_ptr<SReaderThread> readerThread;
  std::shared_ptr<CQuillonFile> packFile;
  CAutoResetEvent chunkReadyEvent;
  SDeltaHeader deltaHeader;

  // --- Video -----------------------------------------------------------------------------------
  u32 videoWidth = kVideoWidth;
  u32 videoHeight = kVideoHeight;
  u32* frameTarget = nullptr;  // the host's pixels of the current frame, or null

  std::mutex inputLock;

  // --- Saved blocks ----------------------------------------------------------------------------
  SMachineState state = {};
  SScriptState scriptState = {};

  // --- Written by other threads, read once at a frame's start ----------------------------------
  std::atomic<u64> lookAheadFrameNumber{0};
  std::atomic<u64> pendingDipWord{0};
  std::atomic<f64> frameRateRequested{60.0};
  std::atomic<u32> pendingClockMHz{0};
  std::atomic<u32> pendingExtraReadTimeUs{0};

  // --- Timeline, disk drive and sound link -----------------------------------------------------
  CEventQueue queue;       // saved
  CATADevice ata;          // saved
  CSoundBoard soundBoard;  // saved

  // --- DSP instances ---------------------------------------------------------------------------
  CDspInstances instances;  // saved, after everything else

  u32 clientIndex = 0;
  u32 videoEventEndId = CEventQueue::kNoId;
  u32 videoEventStartId = CEventQueue::kNoId;

  // --- Input, under inputLock ------------------------------------------------------------------
  SInputRecord inputRecords[kMaxInputRecords];
  u32 inputCount = 0;

  // --- Sound output ----------------------------------------------------------------------------
  CMixer mixer;  // saved: samples held for the host, and the tail of its sources
  std::unique_ptr<u8[]> stateBuffer;

  std::map<u64, SScriptBlob> scriptBlobStore;  // saved

  u64 packHash = 0;
  u64 soundRomHash = 0;
  u32 vBlankCount = 0;

  // --- Housekeeping ----------------------------------------------------------------------------
  u8 bLoaded = 0;
  u8 bIoLayoutB = 0;
  CVXMachine* parent = nullptr;  // null in the master
  std::atomic<u8> bDiskFlush{1};
  std::atomic<u8> bPreserveCache{0};
  std::atomic<u8> bRandomStart{0};
  u8 bScriptStartSent = 0;
  u8 bPredecodeChanged = 0;
  std::unique_ptr<CLookAheadWorker> workers[2];  // one a branch; none before the first use
  u8 bResetPending = 0;  // the reset hooks run at the next frame's start
  u8 bFreshPages = 1;    // RAM and page map are as the system gave them

 private:
  static void OnVideoEventEnd(void* context, u64 userData, f64 time);
  static void OnVideoEventStart(void* context, u64 userData, f64 time);
  static void OnEarliestEvent(void* context);
  static f64 RunTo(void* context, f64 target);
  static f64 RunToWithInstances(void* context, f64 target);
  static f64 PreciseTime(void* context);

  void Unload();
  bool LoadPackFile(const wchar_t* path);
  void ResetState();
  void ClearTouchedRecords();
  void RunBoundedFrame();
  void RunLookAheadFrame();
  void StartBranches();
  bool LoadSections(SStateStream& stream, u32 version);
  void LoadScriptBlobs(SStateStream& stream);
  void LoadPageMap(SStateStream& stream);
  void LoadMixer(SStateStream& stream, u32 version);
  void LoadInstances(SStateStream& stream);
  void MendTimeline();
};

static_assert(std::is_trivially_copyable_v<SMIPS3Context>);
static_assert(std::is_trivially_copyable_v<SMachineState>);
static_assert(std::is_trivially_copyable_v<SADSPState>);

}  // namespace vx
