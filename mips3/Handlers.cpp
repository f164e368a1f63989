// The handlers: for each row of the op table a function taking (machine, op word), and the four
// dispatch tables that reach them.
#include "machine/HostAccess.h"
#include "mips3/BranchOps.h"
#include "mips3/Cop1.h"
#include "mips3/FpValues.h"
#include "mips3/MemoryOps.h"
#include "mips3/OpTable.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

// --- Ops that only handlers execute ------------------------------------------------------------

void ExecUnimplemented(CVXMachine* m, u32 w) { ExecuteUnimplemented(m, w); }

void ExecSyscall(CVXMachine* m, u32) { TakeException(m, kExceptionSyscall); }
void ExecBreak(CVXMachine* m, u32) { TakeException(m, kExceptionBreak); }
void ExecCop0Function(CVXMachine* m, u32 w) { ExecuteCop0Function(m, w); }

void ExecMfc0(CVXMachine* m, u32 w) {
  if (Rt(w) != 0) SetT(m, w, SignExtend32(static_cast<u32>(ReadCop0(m, Rd(w), Rt(w)))));
}
void ExecDmfc0(CVXMachine* m, u32 w) {
  if (Rt(w) != 0) SetT(m, w, ReadCop0(m, Rd(w), Rt(w)));
}
void ExecMtc0(CVXMachine* m, u32 w) { WriteCop0(m, Rd(w), RegT(m, w)); }

void ExecCop1(CVXMachine* m, u32 w) { ExecuteCop1(m, w); }

void ExecLwc1(CVXMachine* m, u32 w) { LoadFpWord(m, Rt(w), ops::Lwc1(m, AddressOf(m, w))); }
void ExecSwc1(CVXMachine* m, u32 w) { ops::Swc1(m, AddressOf(m, w), StoredFpWord(m, Rt(w))); }

// --- One handler an op -------------------------------------------------------------------------

using PlainFunction = void (*)(CVXMachine*, u32);
using MemoryFunction = void (*)(CVXMachine*, u32, u32);

template <PlainFunction Execute>
void Handle(CVXMachine* m, u32 w) {
  Execute(m, w);
}
template <MemoryFunction Execute>
void Handle(CVXMachine* m, u32 w) {
  Execute(m, w, 0);
}

constexpr OpHandler kHandlers[kOpCount] = {
    Handle<ExecUnimplemented>,
    Handle<ExecCop0Function>,
#define VX_OP(identifier, table, code, name, form, traits, engine, executes) Handle<Exec##executes>,
#include "mips3/OpRows.inc"
#undef VX_OP
};

template <size_t Size>
constexpr std::array<OpHandler, Size> BuildHandlers(const std::array<EOp, Size>& ops) {
  std::array<OpHandler, Size> handlers{};
  for (size_t i = 0; i < Size; ++i) handlers[i] = kHandlers[static_cast<u32>(ops[i])];
  return handlers;
}

constexpr auto kSpecialHandlers = BuildHandlers(kSpecialOps);
constexpr auto kRegImmHandlers = BuildHandlers(kRegImmOps);
constexpr auto kCop0Handlers = [] {
  auto handlers = BuildHandlers(kCop0Ops);
  for (u32 rs = kFirstCop0FunctionRs; rs < 32; ++rs) handlers[rs] = Handle<ExecCop0Function>;
  return handlers;
}();

void DispatchSpecial(CVXMachine* m, u32 w) { kSpecialHandlers[Funct(w)](m, w); }
void DispatchRegImm(CVXMachine* m, u32 w) { kRegImmHandlers[Rt(w)](m, w); }
void DispatchCop0(CVXMachine* m, u32 w) { kCop0Handlers[Rs(w)](m, w); }

constexpr auto kMainHandlers = [] {
  auto handlers = BuildHandlers(kMainOps);
  handlers[kMainSpecial] = DispatchSpecial;
  handlers[kMainRegImm] = DispatchRegImm;
  handlers[kMainCop0] = DispatchCop0;
  handlers[kMainCop1] = ExecuteCop1;
  return handlers;
}();

}  // namespace

void ExecuteUnimplemented(CVXMachine* m, u32 w) {
  HostLog(ELogLevel::Error, "MIPS3 unimplemented op at PC %08X: %08X (b:%i s/cp1:%i ri:%i)\n",
          m->cpu.pc, w, MainCode(w), Funct(w), Rt(w));
}

void ExecuteWord(CVXMachine* m, u32 word) { kMainHandlers[MainCode(word)](m, word); }

OpHandler ChooseHandler(u32 word) {
  switch (MainCode(word)) {
    case kMainSpecial:
      return kSpecialHandlers[Funct(word)];
    case kMainRegImm:
      return kRegImmHandlers[Rt(word)];
    case kMainCop0:
      return kCop0Handlers[Rs(word)];
    default:
      return kMainHandlers[MainCode(word)];
  }
}

}  // namespace vx
