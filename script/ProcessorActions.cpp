// The main processor: breakpoints, registers and its place in the slice. While a callback of a
// breakpoint runs, the program counter is that of the op behind it.
#include <algorithm>

#include "machine/HostAccess.h"
#include "machine/VXMachine.h"
#include "mips3/Breakpoints.h"
#include "mips3/Processor.h"
#include "script/ScriptActions.h"

namespace vx::script {

namespace {

constexpr u32 kRestOfSlice = 0xFFFFFFFF;
constexpr u32 kPollCycles = 64;  // that reading Count or Cause takes, as the guest's own polling

// A register number is not checked, only kept to the five bits that it has.
u32 Register(const SScriptCall& call) { return call.In<u32>(0) & (call.bound - 1); }

bool IsCodeAddress(const SScriptCall& call, u32 address, const char* message) {
  if (address >> 2 < call.bound) return true;
  HostLog(ELogLevel::Error, message, address);
  return false;
}

// Not beyond the slice's last cycle; outside a slice, where the budget is 0, without a limit.
void SkipPollTime(SMIPS3Context& cpu) {
  cpu.cycles = std::min(cpu.cycles + kPollCycles, cpu.budget - 1);
}

u32 HalfShift(const SScriptCall& call) { return call.In<u32>(2) == 0 ? 0 : 32; }

}  // namespace

// --- Breakpoints -------------------------------------------------------------------------------

void SetMipsBreakpoint(const SScriptCall& call) {
  const u32 address = call.words[0];
  if (IsCodeAddress(call, address, "Emu_SetMIPSBreakpoint: Invalid address (%08X)\n")) {
    SetBreakpoint(call.m, address, call.words[1]);
  }
}

void ClearMipsBreakpoint(const SScriptCall& call) {
  const u32 address = call.Scalar();
  if (IsCodeAddress(call, address, "Emu_ClearMIPSBreakpoint: Invalid address (%08X)\n")) {
    ClearBreakpoint(call.m, address);
  }
}

// --- Registers ---------------------------------------------------------------------------------

void GetPc(const SScriptCall& call) { call.Result(call.m->cpu.pc); }
void SetPc(const SScriptCall& call) { call.m->cpu.pc = call.Scalar(); }
void SetNextPc(const SScriptCall& call) { call.m->cpu.branchTarget = call.Scalar(); }

void GetGpr(const SScriptCall& call) { call.Out(1, call.m->cpu.gpr[Register(call)]); }
void SetGpr(const SScriptCall& call) {
  if (const u32 index = Register(call); index != 0) call.m->cpu.gpr[index] = call.In<u64>(1);
}

void GetLo(const SScriptCall& call) { call.Result(call.m->cpu.lo); }
void SetLo(const SScriptCall& call) { call.m->cpu.lo = call.memory.Load<u64>(call.argument); }
void GetHi(const SScriptCall& call) { call.Result(call.m->cpu.hi); }
void SetHi(const SScriptCall& call) { call.m->cpu.hi = call.memory.Load<u64>(call.argument); }
void GetLlFlag(const SScriptCall& call) { call.Result(call.m->cpu.llFlag); }
void SetLlFlag(const SScriptCall& call) { call.m->cpu.llFlag = call.words[0]; }

void GetFpr(const SScriptCall& call) { call.Out(1, call.m->cpu.fpr[Register(call)]); }
void SetFpr(const SScriptCall& call) { call.m->cpu.fpr[Register(call)] = call.In<u64>(1); }
void GetFpr32(const SScriptCall& call) {
  call.Out(1, static_cast<u32>(call.m->cpu.fpr[Register(call)] >> HalfShift(call)));
}
void SetFpr32(const SScriptCall& call) {
  u64& value = call.m->cpu.fpr[Register(call)];
  const u32 shift = HalfShift(call);
  value = (value & ~(u64{0xFFFFFFFF} << shift)) | u64{call.In<u32>(1)} << shift;
}

// --- COP0 and time -----------------------------------------------------------------------------

// Time moves on first, unlike in the guest's own reading, and no idle loop is looked for.
void GetCop0(const SScriptCall& call) {
  CVXMachine* const m = call.m;
  const u32 index = Register(call);
  switch (index) {
    case kCop0Count:
      SkipPollTime(m->cpu);
      return call.Out(1, u64{CurrentCount(m)});
    case kCop0Cause:
      SkipPollTime(m->cpu);
      return call.Out(1, m->cpu.cop0[kCop0Cause]);
    case kCop0Random:
      return call.Out(1, ReadCop0(m, kCop0Random, 0));
    default:
      return call.Out(1, m->cpu.cop0[index]);
  }
}

void SetCop0(const SScriptCall& call) { WriteCop0(call.m, Register(call), call.In<u64>(1)); }

void AddCycles(const SScriptCall& call) {
  SMIPS3Context& cpu = call.m->cpu;
  if (call.Scalar() != kRestOfSlice) {
    cpu.cycles += call.Scalar();
  } else if (cpu.budget != 0) {
    cpu.cycles = cpu.budget;
  }
}

void BreakSlice(const SScriptCall& call) { call.m->CutSlice(); }

}  // namespace vx::script
