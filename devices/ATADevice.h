// CATADevice: the board's hard disk as the guest sees it, one ATA drive on 16-bit programmed I/O
// without DMA, addressed by cylinder, head and sector (ANSI X3.221, the AT attachment interface).
// The disk's contents are elsewhere: the device calls three storage functions. Delays are in the
// event queue's microseconds.
//
// Left out: logical block addressing, software reset, the interrupt mask and reading back the task
// file; the guest gets a message in the host's log for each.
#pragma once

#include "base/Types.h"
#include "machine/EventQueue.h"

namespace vx {

class CATADevice;

// saved: the device's registers and transfer state. The line stands behind the record in cells of
// its own, so that the block comes to 584 bytes.
struct SATARecord {
  u32 deviceFlags = 0;  // bit 1 device number, bit 2 device absent
  u8 error = 0;         // bit 7: failed sector transfer
  u8 sectorNumber = 0;  // 1-based
  u8 cylinderLow = 0;
  u8 cylinderHigh = 0;
  u8 driveHead = 0;  // bits 0 to 3 head, bit 4 drive, bit 6 address mode
  u8 status = 0;     // bit 0 error, 1 index, 3 data request, 7 busy
  u8 command = 0;    // last accepted
  u8 deviceControl = 0;
  u16 dataLatch = 0;        // last word through the data port
  u16 sectorCount = 0;      // sectors still to do
  f64 lastIndexTime = 0.0;  // when the index bit was last reported
  f64 busyUntil = 0.0;
  u32 dataPosition = 0;  // byte position in the buffer, 0 to 512
  u8 sectorBuffer[512] = {};
  u32 currentSector = 0;  // linear sector of the last access
  u32 interruptCountdown = 0;
  u32 cylinders = 419;
  u32 heads = 13;
  u32 sectorsPerTrack = 47;
  u32 sectorsPerInterrupt = 1;
  u32 padding572 = 0;
};
struct SATABlock {
  SATARecord record;
  u8 interruptLine = 0;  // 1 while the interrupt is raised
  u8 padding577[7] = {};
};
struct SATATimingBlock {
  f64 extraReadTime = 0.0;  // added to a read's delay
  f64 reserved[3] = {};
};
static_assert(sizeof(SATARecord) == 576 && sizeof(SATABlock) == 584);
static_assert(offsetof(SATARecord, dataLatch) == 12 && offsetof(SATARecord, lastIndexTime) == 16);
static_assert(offsetof(SATARecord, sectorBuffer) == 36);
static_assert(offsetof(SATARecord, currentSector) == 548);
static_assert(offsetof(SATARecord, sectorsPerInterrupt) == 568);
static_assert(offsetof(SATABlock, interruptLine) == 576);
static_assert(sizeof(SATATimingBlock) == 32);

enum EATAStatus : u8 {
  kAtaError = 0x01,
  kAtaIndex = 0x02,
  kAtaDataRequest = 0x08,
  kAtaIdle = 0x50,  // ready, seek complete
  kAtaBusy = 0x80,
};

class CATADevice {
 public:
  // Told each new head position, so that the storage can fetch ahead.
  using SectorTouched = void (*)(u64 sector, void* user);
  // Answer the bytes delivered or taken; fewer than 512 fails the transfer.
  using ReadSectorFunction = u32 (*)(u8* buffer, u64 sector, void* user);
  using WriteSectorFunction = u32 (*)(const u8* buffer, u64 sector, void* user);
  using InterruptFunction = void (*)(CATADevice* device, void* user, u32 level);

  struct SStorage {
    SectorTouched onSectorTouched = nullptr;
    ReadSectorFunction readSector = nullptr;
    WriteSectorFunction writeSector = nullptr;
    void* user = nullptr;
  };
  // Takes the format of a message and the one number that it may print.
  using LogFunction = void (*)(const char* format, u32 value);

  // Registers the device's event and its times with the queue.
  void Construct(CEventQueue* queue, const SStorage& storage, LogFunction log);
  void SetInterruptCallback(InterruptFunction function, void* user);
  // A fresh record; lowers a raised line; busy until the drive has spun up.
  void Reset();

  // The task file as the host adapters reach it, index 0 to 7.
  u32 ReadRegister(u32 index);
  void WriteRegister(u32 index, u32 value);
  u32 ReadAlternateStatus();
  void WriteDeviceControl(u32 value);

  // saved
  SATABlock block;
  SATATimingBlock timing;
  u16 identifyData[256] = {};

 private:
  using C = CATADevice;
  using Phase = void (CATADevice::*)();
  // What a command does in each of its phases; null is nothing.
  struct SCommandRow {
    u32 code;
    Phase onAccepted;
    Phase onTime;
    Phase onTaken;  // the guest has read the buffer
    Phase onGiven;  // the guest has filled it
  };
  static const SCommandRow kCommands[];
  static const SCommandRow* FindCommand(u32 code);
  void RunPhase(u32 code, Phase SCommandRow::*phase);

  enum EEventKind : u32 { kExecute = 1, kResetFirst = 2, kResetSecond = 3 };

  static void OnEvent(void* context, u64 userData, f64 time);
  bool IsDeselected() const;
  void UpdateStatus();
  void RaiseInterrupt();
  void LowerInterrupt();
  void ScheduleKind(u32 kind, f64 delayUs, u32 command);

  u16 ReadData();
  void WriteData(u16 value);
  void EndBuffer(Phase SCommandRow::*phase);
  void WriteCommand(u8 command);
  void StartRead();
  void StartWrite();
  void StartSetup();
  void Execute(u32 command);
  void InitialiseParameters();
  void ReadNext();
  void CommitSector();
  void IdentifyDevice();
  void TransferRead();
  void TransferWrite();
  void FailTransfer();
  u32 TranslateSector();
  void AdvanceSector();

  // wiring
  CEventQueue* queue_ = nullptr;
  SStorage storage_;
  LogFunction log_ = nullptr;
  u32 eventId_ = CEventQueue::kNoId;
  InterruptFunction interrupt_ = nullptr;
  void* interruptUser_ = nullptr;
};

}  // namespace vx
