#include "plugin/Quillon.h"

namespace vx {

void* CQuillonMachineBase::Destruct(u32 deleteFlag) noexcept {
  if ((deleteFlag & 1) != 0) ::operator delete(this);
  return this;
}

void CQuillonMachineBase::Idle13() noexcept {}
void CQuillonMachineBase::Idle14() noexcept {}
void CQuillonMachineBase::ApplySettings() noexcept {}
void CQuillonMachineBase::Idle17() noexcept {}
void CQuillonMachineBase::Idle23() noexcept {}
void CQuillonMachineBase::Idle24() noexcept {}

void CQuillonMachineBase::FilterDirections(u32* buttons, i8 keepBoth) noexcept {
  constexpr u32 kFirstPair = 0x20 | 0x40;
  constexpr u32 kSecondPair = 0x80 | 0x100;
  if (buttons == nullptr || keepBoth != 0) return;
  if ((*buttons & kFirstPair) == kFirstPair) *buttons &= ~0x20u;
  if ((*buttons & kSecondPair) == kSecondPair) *buttons &= ~0x80u;
}

u32 CQuillonMachineBase::TranslateButtons(i32) noexcept { return 0; }
u32 CQuillonMachineBase::MapIdentity(u32 value) noexcept { return value; }
u32 CQuillonMachineBase::GetConstant2() noexcept { return 2; }
u32 CQuillonMachineBase::GetConstant4() noexcept { return 4; }
u32 CQuillonMachineBase::GetConstant6() noexcept { return 6; }
bool CQuillonMachineBase::HasFeature25() noexcept { return true; }
bool CQuillonMachineBase::TranslateAddress(u64*) noexcept { return true; }
u64 CQuillonMachineBase::HashState() noexcept { return 0; }

}  // namespace vx
