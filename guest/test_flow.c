// Branches, jumps and exceptions of the main processor.
#include "guest/cop0.h"
#include "guest/kernel.h"

typedef uint64_t SBranchOp(uint64_t a, uint64_t b);

extern SBranchOp Op_beq, Op_bne, Op_blez, Op_bgtz, Op_bltz, Op_bgez, Op_bltzal, Op_bgezal;
extern SBranchOp Op_delay_operand, Op_backward, Op_jal, Op_jalr, Op_jump;
extern uint64_t Op_delay_load(uint64_t unused, const void* address);
extern uint64_t Op_syscall(void), Op_break(void), Op_syscall_delay(void);
extern void Op_cause(uint64_t cause);
extern const uint8_t Op_syscall_next[], Op_break_next[], Op_syscall_delay_target[], Op_cause_next[];

// What a branch op answers: whether it was taken, whether its delay op ran, whether its link is
// right.
enum { kTaken = 1, kDelay = 2, kLink = 4 };

#define kMinus1 0xFFFFFFFFFFFFFFFF
#define kTop32 0x0000000080000000
#define kTop64 0x8000000000000000

typedef struct SBranchRow {
  SBranchOp* op;
  uint64_t a;
  uint64_t b;
  uint32_t wanted;
} SBranchRow;

// clang-format off
static const SBranchRow kBranches[] = {
    // op         a            b        wanted
    {Op_beq,      5,           5,       kTaken + kDelay},
    {Op_beq,      5,           6,       kDelay},
    {Op_beq,      0x100000005, 5,       kDelay},
    {Op_bne,      5,           6,       kTaken + kDelay},
    {Op_bne,      5,           5,       kDelay},
    {Op_bne,      0x100000005, 5,       kTaken + kDelay},
    {Op_blez,     0,           0,       kTaken + kDelay},
    {Op_blez,     1,           0,       kDelay},
    {Op_blez,     kMinus1,     0,       kTaken + kDelay},
    {Op_blez,     kTop32,      0,       kDelay},
    {Op_bgtz,     0,           0,       kDelay},
    {Op_bgtz,     1,           0,       kTaken + kDelay},
    {Op_bgtz,     kTop64,      0,       kDelay},
    {Op_bgtz,     kTop32,      0,       kTaken + kDelay},
    {Op_bltz,     kMinus1,     0,       kTaken + kDelay},
    {Op_bltz,     0,           0,       kDelay},
    {Op_bltz,     kTop32,      0,       kDelay},
    {Op_bgez,     0,           0,       kTaken + kDelay},
    {Op_bgez,     kTop64,      0,       kDelay},
    {Op_bgez,     kTop32,      0,       kTaken + kDelay},
    {Op_bltzal,   kMinus1,     0,       kTaken + kDelay + kLink},
    {Op_bltzal,   1,           0,       kDelay + kLink},
    {Op_bgezal,   0,           0,       kTaken + kDelay + kLink},
    {Op_bgezal,   kMinus1,     0,       kDelay + kLink},
    {Op_delay_operand, 7,      0,       1},
    {Op_delay_operand, 0,      0,       0},
    {Op_backward, 1,           0,       1},
    {Op_backward, 100,         0,       5050},
    {Op_jal,      0,           0,       0x41},
    {Op_jalr,     0,           0,       0x21},
    {Op_jump,     0,           0,       13},
};
// clang-format on

void TestFlow(void) {
  static const int32_t kLoaded = -20;
  BeginGroup(kGroupFlow);
  for (uint32_t i = 0; i < sizeof(kBranches) / sizeof(kBranches[0]); i++) {
    Check(kBranches[i].op(kBranches[i].a, kBranches[i].b), kBranches[i].wanted);
  }
  Check(Op_delay_load(0, &kLoaded), (uint64_t)(int64_t)kLoaded);
}

enum { kCodeInterrupt = 0, kCodeSyscall = 8, kCodeBreak = 9 };

static void CheckException(uint32_t takenBefore, uint32_t code, const uint8_t* epc) {
  Check(gLastException.taken, takenBefore + 1);
  Check(gLastException.code, code);
  Check(gLastException.epc, (uint32_t)(uintptr_t)epc);
}

void TestExceptions(void) {
  BeginGroup(kGroupException);
  ExpectExceptions(true);

  uint32_t taken = gLastException.taken;
  Check(Op_syscall(), 2);
  CheckException(taken, kCodeSyscall, Op_syscall_next);

  taken = gLastException.taken;
  Check(Op_break(), 4);
  CheckException(taken, kCodeBreak, Op_break_next);

  // EPC never points at a branch: the delay slot is resolved before the exception is taken.
  taken = gLastException.taken;
  Check(Op_syscall_delay(), 2);
  CheckException(taken, kCodeSyscall, Op_syscall_delay_target);

  // The software bits look at neither the mask nor the enable bit.
  for (uint32_t bit = 0x100; bit <= 0x200; bit <<= 1) {
    taken = gLastException.taken;
    Op_cause(bit);
    CheckException(taken, kCodeInterrupt, Op_cause_next);
    Check(gLastException.software, bit);
    Check(ReadCause() & kCauseSoftware, 0);
  }

  // Hardware lines cannot be set by hand.
  taken = gLastException.taken;
  Op_cause(0x7000);
  Check(gLastException.taken, taken);
  Check(ReadCause() & 0x7000, 0);

  ExpectExceptions(false);
}
