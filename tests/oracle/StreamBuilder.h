// Puts a stream together: registers to choose from, ops with their stand-ins, and branches whose
// targets are chosen once all ops stand.
//
// Some registers always hold sign-extended words, so that the operands of word ops are defined
// wherever a branch has come from; others hold any 64 bits.
#pragma once

#include "tests/oracle/Assemble.h"
#include "tests/oracle/Random.h"
#include "tests/oracle/Stream.h"
#include "tests/oracle/StreamClass.h"

namespace vx::oracle {

class CStreamBuilder {
 public:
  CStreamBuilder(const SStreamClass& kind, u64 number);

  // The finished stream: all branches have targets, and the way back to the harness follows.
  SStream Finish(u32 exitAddress);

  // --- Choices ---------------------------------------------------------------------------------
  CRandom random;
  const SStreamClass& kind;

  u32 AnySource() { return random.Below(32); }
  u32 WordSource();
  u32 WordTarget();
  u32 WideTarget();
  // Any register that the stream does not rely on, and register 0.
  u32 AnyTarget();
  u32 NonZero(u32 index) { return index == 0 ? 1 : index; }
  i32 Immediate();
  // A condition of the floating point unit.
  u32 Condition() { return kind.bEightConditions ? random.Below(8) : 0; }

  // --- Ops -------------------------------------------------------------------------------------
  u32 Size() const { return static_cast<u32>(stream_.ops.size()); }
  // The offset of a base register from the data area's first byte.
  u32 BaseOffset(u32 base) const { return base == kEvenBase ? kEvenBaseOffset : oddBaseOffset_; }
  bool IsPaired() const { return !stream_.bFullRegisters; }

  // An op that starts a group; branches may lead to it.
  void Start(u32 word) { Put(word, word, EDeparture::None, true); }
  void Start(u32 board, u32 oracle, EDeparture departure) { Put(board, oracle, departure, true); }
  // A further op of a group.
  void Then(u32 word) { Put(word, word, EDeparture::None, false); }
  void Then(u32 board, u32 oracle, EDeparture departure) { Put(board, oracle, departure, false); }
  // A branch or jump without its offset: it gets one that leads somewhere further down.
  void StartBranch(u32 word);
  // The two ops that load a register jump's address; the jump and its delay op follow.
  void StartRegisterJump(u32 target);
  // Whether branches may lead to the last op put.
  void SetTarget(bool bTarget) { stream_.ops.back().bTarget = bTarget; }

 private:
  static constexpr u32 kEvenBaseOffset = 224;
  struct SBranch {
    u32 index;  // of the branch itself
    bool bRegister;
  };

  void Put(u32 board, u32 oracle, EDeparture departure, bool bTarget);
  void FillRecord(u32 which);
  u32 ChooseTarget(u32 branch);
  void Aim(const SBranch& branch);

  SStream stream_;
  std::vector<SBranch> branches_;
  u32 oddBaseOffset_ = 0;
};

// Puts one op that is no branch and needs no neighbour, fit for a delay slot.
void PutSingle(CStreamBuilder& b);
// Puts a group of ops of one family.
void PutIntegerGroup(CStreamBuilder& b);
void PutMemoryGroup(CStreamBuilder& b);
void PutFpGroup(CStreamBuilder& b);
void PutBranchGroup(CStreamBuilder& b);

void PutIntegerSingle(CStreamBuilder& b);
void PutMemorySingle(CStreamBuilder& b);
void PutFpSingle(CStreamBuilder& b);

// The stream of a class with a number: always the same one.
SStream GenerateStream(EStreamClass id, u64 number);

}  // namespace vx::oracle
