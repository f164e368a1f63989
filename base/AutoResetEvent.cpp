#include "base/AutoResetEvent.h"

namespace vx {

void CAutoResetEvent::Signal() {
  {
    const std::lock_guard lock(m_mutex);
    m_bSignalled = true;
  }
  m_condition.notify_one();
}

void CAutoResetEvent::Wait() {
  std::unique_lock lock(m_mutex);
  m_condition.wait(lock, [this] { return m_bSignalled; });
  m_bSignalled = false;
}

bool CAutoResetEvent::WaitFor(std::chrono::milliseconds timeout) {
  std::unique_lock lock(m_mutex);
  if (!m_condition.wait_for(lock, timeout, [this] { return m_bSignalled; })) return false;
  m_bSignalled = false;
  return true;
}

}  // namespace vx
