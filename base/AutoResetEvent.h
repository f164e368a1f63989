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
  std::mutex m_mutex;
  std::condition_variable m_condition;
  bool m_bSignalled = false;
};

}  // namespace vx
