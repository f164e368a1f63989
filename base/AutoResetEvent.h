// A signal between two threads that wakes one waiter and then clears itself.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vx {

// Starts clear. Signals do not count: any number of them before a wait releases one wait.
class CAutoResetEvent {
 public:
  void Signal();
  void Wait();
  // False if the time ran out first.
  bool WaitFor(std::chrono::milliseconds timeout);

 private:
  std::mutex mutex_;
  std::condition_variable condition_;
  bool bSignalled_ = false;
};

}  // namespace vx
