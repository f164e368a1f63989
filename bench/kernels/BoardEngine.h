// The kernels on the board's main processor, without pack and devices. The guest program tells its
// result through a register row that nothing else uses, which ends its slice.
#pragma once

#include "bench/kernels/Engine.h"
#include "machine/VXMachine.h"

namespace vx::bench {

enum class EBoardWay { Replay, Native };

class CBoardEngine final : public CEngine {
 public:
  // Runs every kernel once, so that all its code has records, and takes native blocks away again
  // for replay. Throws std::runtime_error if the kernels' image cannot be read.
  explicit CBoardEngine(EBoardWay way);
  ~CBoardEngine() override { machine_->Destruct(1); }
  CBoardEngine(const CBoardEngine&) = delete;
  CBoardEngine& operator=(const CBoardEngine&) = delete;

  SKernelRun Run(u32 kernel, u32 passes) override;

  struct SOpCount {
    u64 ops;
    u64 nativeOps;  // of these, run by native blocks
  };
  // What a pass of the kernel executes, op by op as the board runs it.
  SOpCount CountOps(u32 kernel);

  // Starts all kernels in turn, for ever, for a machine that runs frames.
  void StartForEver();
  CVXMachine& Machine() { return *machine_; }
  // Words of the program's code and constants, from kFlatMainRam on.
  u32 ImageWords() const { return imageWords_; }

 private:
  enum class EEntry : u32;
  void Start(EEntry entry, u32 kernel, u32 passes);
  u32 RunToAnswer(EEntry entry, u32 kernel, u32 passes);
  SOpCount CountTo(u32 kernel, u32 passes);

  CVXMachine* machine_;
  u32 imageWords_ = 0;
};

}  // namespace vx::bench
