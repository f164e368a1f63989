// Interprets the byte code of a small stack machine that looks for primes.
#include "bench/kernels/Kernel.h"

enum ECode {
  kPush,
  kLoad,
  kStore,
  kAdd,
  kMultiply,
  kLess,
  kNot,
  kGet,
  kPut,
  kJump,
  kJumpIfNot,
  kHalt
};
enum { kLimit = 1000, kStackSize = 16 };

static KU8 memory[kLimit];
static KU32 stack[kStackSize];
static KU32 variables[4];

// i = 2; while (i < limit) { if (!memory[i]) { count += 1; for (k = i * i; k < limit; k += i)
// memory[k] = 1; } i += 1; } An operand of two bytes follows those codes that have one.
enum { kVarI, kVarK, kVarCount };
#define OPERAND(value) (KU8)((value)&0xFF), (KU8)((value) >> 8)
static const KU8 kProgram[] = {
    /*  0 */ kPush,      OPERAND(2),
    /*  3 */ kStore,     OPERAND(kVarI),
    /*  6 */ kLoad,      OPERAND(kVarI),
    /*  9 */ kPush,      OPERAND(kLimit),
    /* 12 */ kLess,
    /* 13 */ kJumpIfNot, OPERAND(81),
    /* 16 */ kLoad,      OPERAND(kVarI),
    /* 19 */ kGet,
    /* 20 */ kNot,
    /* 21 */ kJumpIfNot, OPERAND(68),
    /* 24 */ kLoad,      OPERAND(kVarCount),
    /* 27 */ kPush,      OPERAND(1),
    /* 30 */ kAdd,
    /* 31 */ kStore,     OPERAND(kVarCount),
    /* 34 */ kLoad,      OPERAND(kVarI),
    /* 37 */ kLoad,      OPERAND(kVarI),
    /* 40 */ kMultiply,
    /* 41 */ kStore,     OPERAND(kVarK),
    /* 44 */ kLoad,      OPERAND(kVarK),
    /* 47 */ kPush,      OPERAND(kLimit),
    /* 50 */ kLess,
    /* 51 */ kJumpIfNot, OPERAND(68),
    /* 54 */ kLoad,      OPERAND(kVarK),
    /* 57 */ kPut,
    /* 58 */ kLoad,      OPERAND(kVarK),
    /* 61 */ kLoad,      OPERAND(kVarI),
    /* 64 */ kAdd,
    /* 65 */ kJump,      OPERAND(78),
    /* 68 */ kLoad,      OPERAND(kVarI),
    /* 71 */ kPush,      OPERAND(1),
    /* 74 */ kAdd,
    /* 75 */ kJump,      OPERAND(3),
    /* 78 */ kJump,      OPERAND(41),
    /* 81 */ kHalt,      OPERAND(0),
};
#undef OPERAND

void PrepareInterpret(void) {}

static void Interpret(void) {
  const KU8* at = kProgram;
  KU32* top = stack;  // the next free place
  for (;;) {
    const KU32 code = at[0];
    const KU32 operand = at[1] | (KU32)at[2] << 8;
    switch ((enum ECode)code) {
      case kPush:
        *top++ = operand;
        at += 3;
        break;
      case kLoad:
        *top++ = variables[operand];
        at += 3;
        break;
      case kStore:
        variables[operand] = *--top;
        at += 3;
        break;
      case kAdd:
        --top;
        top[-1] += top[0];
        ++at;
        break;
      case kMultiply:
        --top;
        top[-1] *= top[0];
        ++at;
        break;
      case kLess:
        --top;
        top[-1] = top[-1] < top[0];
        ++at;
        break;
      case kNot:
        top[-1] = !top[-1];
        ++at;
        break;
      case kGet:
        top[-1] = memory[top[-1]];
        ++at;
        break;
      case kPut:
        memory[*--top] = 1;
        ++at;
        break;
      case kJump:
        at = kProgram + operand;
        break;
      case kJumpIfNot:
        at = *--top != 0 ? at + 3 : kProgram + operand;
        break;
      case kHalt:
        return;
    }
  }
}

KU32 PassInterpret(void) {
  for (KU32 i = 0; i < kLimit; ++i) memory[i] = 0;
  variables[kVarCount] = 0;
  Interpret();
  KU32 sum = variables[kVarCount];
  for (KU32 i = 0; i < kLimit; ++i) sum = Fold(sum, memory[i]);
  return sum;
}
