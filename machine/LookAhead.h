// Look-ahead: two clones of the machine, each on a thread of its own, run a frame ahead of it. The
// branches start from the machine's state of this moment, and are thrown away after the frame.
//
// What a clone shares with its machine is the disk image, and the count of frame buffers asked for.
// A clone runs no sound, shows nothing itself and keeps no files.
#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "base/AutoResetEvent.h"
#include "base/StateStream.h"
#include "base/Types.h"

namespace vx {

class CVXMachine;

// A worker's thread.
struct SWorkerThread {
  std::unique_ptr<std::thread> handle;
  void (*function)(void* argument) = nullptr;
  void* argument = nullptr;
  std::atomic<u8> bStop{0};
};
static_assert(sizeof(SWorkerThread) == 32);

// One branch. All functions are called on the thread that runs the master's frames.
class CLookAheadWorker {
 public:
  // Waits until the master's disk is all in memory, and clones the master as the state tells it.
  CLookAheadWorker(CVXMachine& master, const SStateStream& state);
  // Waits for the thread.
  ~CLookAheadWorker();
  CLookAheadWorker(const CLookAheadWorker&) = delete;
  CLookAheadWorker& operator=(const CLookAheadWorker&) = delete;

  // Takes over the master's op records and breakpoints as they are now.
  void Refresh();
  // Starts the branch (0 or 1) from a state, which has to stay untouched until Wait has answered.
  // The clone gets the master's present input.
  void Start(const SStateStream& state, u8 branchNumber);
  // Waits for the branch and answers its picture; null if it has not finished one in time.
  u32* Wait();

  CVXMachine& Clone() { return *clone_; }
  bool IsBusy() const { return bBusy_.load(std::memory_order_acquire) != 0; }

 private:
  void MakeClone(const SStateStream& state);
  void RunThread();
  void RunBranch();

  CVXMachine* const parent_;
  CVXMachine* clone_ = nullptr;
  SWorkerThread thread_;
  std::unique_ptr<CAutoResetEvent> startEvent_ = std::make_unique<CAutoResetEvent>();
  std::unique_ptr<CAutoResetEvent> doneEvent_ = std::make_unique<CAutoResetEvent>();
  u8* stateData_ = nullptr;
  u32 stateSize_ = 0;
  std::atomic<u8> bBusy_{0};
  u8 branch_ = 0;
};
static_assert(sizeof(CLookAheadWorker) == 80);

}  // namespace vx
