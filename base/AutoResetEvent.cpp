#include "base/AutoResetEvent.h"

namespace vx {

void CAutoResetEvent::Signal() {
  {
    const std::lock_guard lock(mutex_);
    bSignalled_ = true;
  }
  condition_.notify_one();
}

void CAutoResetEvent::Wait() {
  std::unique_lock lock(mutex_);
  condition_.wait(lock, [this] { return bSignalled_; });
  bSignalled_ = false;
}

bool CAutoResetEvent::WaitFor(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  if (!condition_.wait_for(lock, timeout, [this] { return bSignalled_; })) return false;
  bSignalled_ = false;
  return true;
}

}  // namespace vx
