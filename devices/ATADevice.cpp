#include "devices/ATADevice.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/PackFormat.h"

namespace vx {

namespace {

constexpr u32 kDeselectedValue = 0xFFFF;
constexpr f64 kRevolutionUs = 11111.111111111111;  // 5,400 revolutions a minute
constexpr f64 kResetStageUs = 2000.0;
constexpr f64 kSetupCommandUs = 10.0;
constexpr f64 kNextSectorUs = 0.4;
constexpr f64 kCommitUs = 100.0;
constexpr f64 kSeekFullStrokeUs = 13000.0;
constexpr f64 kSeekSettleUs = 1300.0;

enum EDriveHead : u32 { kHeadMask = 0x0F, kDriveBit = 0x10, kAddressModeBit = 0x40 };
enum EDeviceFlag : u32 { kDeviceNumber = 0x02, kDeviceAbsent = 0x04 };

}  // namespace

// clang-format off
const CATADevice::SCommandRow CATADevice::kCommands[] = {
  //  code  command                 when accepted       when its time is up       buffer read   buffer filled
  { 0x20, /* read sectors       */ &C::StartRead,      &C::TransferRead,         &C::ReadNext, nullptr           },
  { 0x21, /* the same, no retry */ &C::StartRead,      &C::TransferRead,         &C::ReadNext, nullptr           },
  { 0x30, /* write sectors      */ &C::StartWrite,     &C::TransferWrite,        nullptr,      &C::CommitSector  },
  { 0x31, /* the same, no retry */ &C::StartWrite,     &C::TransferWrite,        nullptr,      &C::CommitSector  },
  { 0x91, /* set parameters     */ &C::StartSetup,     &C::InitialiseParameters, nullptr,      nullptr           },
  { 0xEC, /* identify device    */ &C::StartSetup,     &C::IdentifyDevice,       nullptr,      nullptr           },
  { 0xF9, /* interrupt alone    */ &C::RaiseInterrupt, nullptr,                  nullptr,      nullptr           },
};
// clang-format on

const CATADevice::SCommandRow* CATADevice::FindCommand(u32 code) {
  for (const SCommandRow& row : kCommands) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

void CATADevice::RunPhase(u32 code, Phase SCommandRow::*phase) {
  const SCommandRow* const row = FindCommand(code);
  if (row != nullptr && row->*phase != nullptr) (this->*(row->*phase))();
}

void CATADevice::Construct(CEventQueue* queue, const SStorage& storage, LogFunction log) {
  queue_ = queue;
  storage_ = storage;
  log_ = log;
  eventId_ = queue->Register(OnEvent, this);
  queue->AddRebased(&block.record.lastIndexTime);
  queue->AddRebased(&block.record.busyUntil);
}

void CATADevice::SetInterruptCallback(InterruptFunction function, void* user) {
  interrupt_ = function;
  interruptUser_ = user;
}

void CATADevice::Reset() {
  block.record = SATARecord{};
  if (block.interruptLine != 0) LowerInterrupt();
  ScheduleKind(kResetFirst, kResetStageUs, 0);
}

// --- Register file -----------------------------------------------------------------------------

bool CATADevice::IsDeselected() const {
  const SATARecord& r = block.record;
  if ((r.deviceFlags & kDeviceAbsent) != 0) return true;
  return ((r.driveHead & kDriveBit) != 0) != ((r.deviceFlags & kDeviceNumber) != 0);
}

u32 CATADevice::ReadRegister(u32 index) {
  if (IsDeselected()) return kDeselectedValue;
  if (index == 7) {
    UpdateStatus();
    LowerInterrupt();
    return block.record.status;
  }
  if ((block.record.status & kAtaBusy) != 0) {
    UpdateStatus();
    return block.record.status;
  }
  if (index == 0) return ReadData();
  log_("ATA cs0 unimplemented: %i\n", index);
  return kDeselectedValue;
}

u32 CATADevice::ReadAlternateStatus() {
  if (IsDeselected()) return kDeselectedValue;
  UpdateStatus();
  LowerInterrupt();
  return block.record.status;
}

void CATADevice::WriteRegister(u32 index, u32 value) {
  SATARecord& r = block.record;
  if ((r.deviceFlags & kDeviceAbsent) != 0) return;
  const u8 byte = static_cast<u8>(value);
  switch (index) {
    case 0:
      WriteData(static_cast<u16>(value));
      break;
    case 2:
      r.sectorCount = static_cast<u16>(value) != 0 ? static_cast<u16>(value) : 256;
      break;
    case 3:
      r.sectorNumber = byte;
      break;
    case 4:
      r.cylinderLow = byte;
      break;
    case 5:
      r.cylinderHigh = byte;
      break;
    case 6:
      if (((r.driveHead ^ byte) & kDriveBit) != 0) log_("ATA drv unimplemented\n", 0);
      r.driveHead = byte;
      break;
    case 7:
      WriteCommand(byte);
      break;
    default:
      log_("ATA cs0 write unimplemented: %i\n", index);
      break;
  }
}

void CATADevice::WriteDeviceControl(u32 value) {
  SATARecord& r = block.record;
  if ((r.deviceFlags & kDeviceAbsent) != 0) return;
  const u8 changed = r.deviceControl ^ static_cast<u8>(value);
  r.deviceControl = static_cast<u8>(value);
  if ((changed & 0x02) != 0) log_("ATA devcontrol NIEn unimplemented\n", 0);
  if ((changed & 0x04) != 0) log_("ATA devcontrol SRst unimplemented\n", 0);
}

void CATADevice::UpdateStatus() {
  SATARecord& r = block.record;
  const f64 now = queue_->Now();
  r.status = static_cast<u8>(now < r.busyUntil ? r.status | kAtaBusy : r.status & ~kAtaBusy);
  if (now - r.lastIndexTime >= kRevolutionUs) {
    r.status |= kAtaIndex;
    r.lastIndexTime = now;
  } else {
    r.status &= static_cast<u8>(~kAtaIndex);
  }
}

u16 CATADevice::ReadData() {
  SATARecord& r = block.record;
  std::memcpy(&r.dataLatch, r.sectorBuffer + std::min(r.dataPosition, kSectorBytes - 2), 2);
  const u16 word = r.dataLatch;
  r.dataPosition += 2;
  if (r.dataPosition >= kSectorBytes) EndBuffer(&SCommandRow::onTaken);
  return word;
}

void CATADevice::WriteData(u16 value) {
  SATARecord& r = block.record;
  r.dataLatch = value;
  std::memcpy(r.sectorBuffer + std::min(r.dataPosition, kSectorBytes - 2), &value, 2);
  r.dataPosition += 2;
  if (r.dataPosition >= kSectorBytes) EndBuffer(&SCommandRow::onGiven);
}

// --- Interrupt line and time -------------------------------------------------------------------

void CATADevice::RaiseInterrupt() {
  if (block.interruptLine == 1) return;
  block.interruptLine = 1;
  if (interrupt_ != nullptr) interrupt_(this, interruptUser_, 1);
}

void CATADevice::LowerInterrupt() {
  if (block.interruptLine == 0) return;
  block.interruptLine = 0;
  if (interrupt_ != nullptr) interrupt_(this, interruptUser_, 0);
}

void CATADevice::ScheduleKind(u32 kind, f64 delayUs, u32 command) {
  SATARecord& r = block.record;
  const f64 now = queue_->Now();
  queue_->Schedule(now + delayUs, eventId_, u64{command} << 16 | kind);
  r.busyUntil = std::max(r.busyUntil, now + delayUs);
  r.status = static_cast<u8>(now < r.busyUntil ? r.status | kAtaBusy : r.status & ~kAtaBusy);
}

void CATADevice::OnEvent(void* context, u64 userData, f64 time) {
  auto* device = static_cast<CATADevice*>(context);
  SATARecord& r = device->block.record;
  r.status = static_cast<u8>(time < r.busyUntil ? r.status | kAtaBusy : r.status & ~kAtaBusy);
  switch (userData & 0xFFFF) {
    case kExecute:
      device->Execute(static_cast<u32>(userData >> 16));
      break;
    case kResetFirst:
      r.dataPosition = 0;
      r.status = kAtaIdle;
      device->ScheduleKind(kResetSecond, kResetStageUs, 0);
      break;
    case kResetSecond:
      r.sectorCount = 1;
      r.sectorNumber = 1;
      break;
    default:
      break;
  }
}

// --- Commands ----------------------------------------------------------------------------------

void CATADevice::WriteCommand(u8 command) {
  SATARecord& r = block.record;
  if ((r.status & (kAtaBusy | kAtaDataRequest)) != 0) return;
  r.command = command;
  LowerInterrupt();
  r.status &= static_cast<u8>(~(kAtaError | kAtaDataRequest));
  r.dataPosition = 0;
  if (FindCommand(command) == nullptr) log_("ATA command unimplemented: %i\n", command);
  RunPhase(command, &SCommandRow::onAccepted);
}

void CATADevice::StartWrite() {
  block.record.status |= kAtaDataRequest;
  block.record.interruptCountdown = 1;
}

void CATADevice::StartSetup() { ScheduleKind(kExecute, kSetupCommandUs, block.record.command); }

// Charges the way from the head's present track to the wanted one.
void CATADevice::StartRead() {
  SATARecord& r = block.record;
  r.interruptCountdown = 1;
  const u32 from = r.currentSector;
  const u32 to = TranslateSector();
  const u32 sectorsPerCylinder = r.heads * r.sectorsPerTrack;
  f64 delayUs = 0.0;
  if (sectorsPerCylinder != 0 && from != to) {
    const i64 distance = std::abs(i64{from / sectorsPerCylinder} - i64{to / sectorsPerCylinder});
    delayUs = distance == 0 ? kNextSectorUs : kSeekSettleUs;
    // A drive of no cylinders is one that a damaged state describes.
    if (distance != 0 && r.cylinders != 0) {
      delayUs = static_cast<f64>(distance) * kSeekFullStrokeUs / r.cylinders + kSeekSettleUs;
    }
  }
  r.currentSector = to;
  storage_.onSectorTouched(to, storage_.user);
  if (timing.extraReadTime > 0.0) delayUs += timing.extraReadTime;
  if (delayUs > 0.0) {
    ScheduleKind(kExecute, delayUs, r.command);
  } else {
    Execute(r.command);
  }
}

void CATADevice::Execute(u32 command) { RunPhase(command, &SCommandRow::onTime); }

void CATADevice::InitialiseParameters() {
  SATARecord& r = block.record;
  r.sectorsPerTrack = r.sectorCount;
  r.heads = (r.driveHead & kHeadMask) + 1u;
  RaiseInterrupt();
}

void CATADevice::IdentifyDevice() {
  SATARecord& r = block.record;
  for (u32 i = 0; i < 256; ++i) {
    const u16 swapped = static_cast<u16>(identifyData[i] >> 8 | identifyData[i] << 8);
    std::memcpy(r.sectorBuffer + 2 * i, &swapped, 2);
  }
  r.status |= kAtaDataRequest;
  RaiseInterrupt();
}

void CATADevice::FailTransfer() {
  block.record.error |= 0x80;
  block.record.status |= kAtaError;
  RaiseInterrupt();
}

void CATADevice::TransferRead() {
  SATARecord& r = block.record;
  if (storage_.readSector(r.sectorBuffer, TranslateSector(), storage_.user) < kSectorBytes) {
    FailTransfer();
    return;
  }
  const bool bLast = r.sectorCount == 1;
  if (!bLast) AdvanceSector();
  if ((r.interruptCountdown != 0 && --r.interruptCountdown == 0) || bLast) {
    r.interruptCountdown = 1;
    RaiseInterrupt();
  }
  r.status |= kAtaDataRequest;
}

void CATADevice::EndBuffer(Phase SCommandRow::*phase) {
  block.record.status &= static_cast<u8>(~kAtaDataRequest);
  block.record.dataPosition = 0;
  RunPhase(block.record.command, phase);
}

void CATADevice::ReadNext() {
  SATARecord& r = block.record;
  if (r.sectorCount == 0) return;
  if (--r.sectorCount != 0) ScheduleKind(kExecute, kNextSectorUs, r.command);
}

void CATADevice::CommitSector() { ScheduleKind(kExecute, kCommitUs, block.record.command); }

void CATADevice::TransferWrite() {
  SATARecord& r = block.record;
  if (storage_.writeSector(r.sectorBuffer, TranslateSector(), storage_.user) < kSectorBytes) {
    FailTransfer();
    return;
  }
  if (r.sectorCount != 1) AdvanceSector();
  bool bDone = false;
  if (r.sectorCount != 0) {
    bDone = --r.sectorCount == 0;
    if (!bDone) r.status |= kAtaDataRequest;
  }
  if ((r.interruptCountdown != 0 && --r.interruptCountdown == 0) || bDone) {
    r.interruptCountdown = 1;
    RaiseInterrupt();
  }
}

u32 CATADevice::TranslateSector() {
  const SATARecord& r = block.record;
  if ((r.driveHead & kAddressModeBit) != 0) {
    log_("ATA non-LBA path unimplemented\n", 0);
    return 0;
  }
  const u32 cylinder = u32{r.cylinderHigh} << 8 | r.cylinderLow;
  return (r.sectorNumber - 1u) +
         (cylinder * r.heads + (r.driveHead & kHeadMask)) * r.sectorsPerTrack;
}

void CATADevice::AdvanceSector() {
  SATARecord& r = block.record;
  if ((r.driveHead & kAddressModeBit) != 0) {
    log_("ATA non-LBA path unimplemented\n", 0);
  } else if (r.sectorNumber < r.sectorsPerTrack) {
    ++r.sectorNumber;
  } else {
    r.sectorNumber = 1;
    const u32 head = r.driveHead & kHeadMask;
    const bool bNextHead = head + 1 < r.heads;
    r.driveHead = static_cast<u8>((r.driveHead & ~kHeadMask) | (bNextHead ? head + 1 : 0));
    if (!bNextHead && ++r.cylinderLow == 0) ++r.cylinderHigh;
  }
  r.currentSector = TranslateSector();
  storage_.onSectorTouched(r.currentSector, storage_.user);
}

}  // namespace vx
