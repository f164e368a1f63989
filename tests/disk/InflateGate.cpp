#include "tests/disk/InflateGate.h"

namespace vx::test {

namespace {

CInflateGate* g_gate = nullptr;

}  // namespace

CInflateGate::CInflateGate(CTestHost& host, bool bOpen)
    : m_host(host), m_inflate(host.Api().Inflate), m_bOpen(bOpen) {
  g_gate = this;
  host.Api().Inflate = Inflate;
}

CInflateGate::~CInflateGate() {
  m_host.Api().Inflate = m_inflate;
  g_gate = nullptr;
}

void CInflateGate::Open() {
  const std::lock_guard lock(m_lock);
  m_bOpen = true;
  m_changed.notify_all();
}

void CInflateGate::Pass(u32 count) {
  const std::lock_guard lock(m_lock);
  m_permits += count;
  m_changed.notify_all();
}

void CInflateGate::AwaitArrivals(u32 count) {
  std::unique_lock lock(m_lock);
  m_changed.wait(lock, [&] { return m_arrivals >= count; });
}

void CInflateGate::AwaitEnds(u32 count) {
  std::unique_lock lock(m_lock);
  m_changed.wait(lock, [&] { return m_ends >= count; });
}

u32 CInflateGate::Arrivals() const {
  const std::lock_guard lock(m_lock);
  return m_arrivals;
}

std::vector<const u8*> CInflateGate::Targets() const {
  const std::lock_guard lock(m_lock);
  return m_targets;
}

void CInflateGate::Inflate(void* target, const void* source, u32 targetBytes, u32 sourceBytes,
                           u32 zero) {
  CInflateGate& gate = *g_gate;
  if (std::this_thread::get_id() == gate.m_owner) {
    gate.m_inflate(target, source, targetBytes, sourceBytes, zero);
    return;
  }
  {
    std::unique_lock lock(gate.m_lock);
    ++gate.m_arrivals;
    gate.m_changed.notify_all();
    gate.m_changed.wait(lock, [&] { return gate.m_bOpen || gate.m_permits != 0; });
    if (gate.m_permits != 0) --gate.m_permits;
    gate.m_targets.push_back(static_cast<const u8*>(target));
  }
  gate.m_inflate(target, source, targetBytes, sourceBytes, zero);
  const std::lock_guard lock(gate.m_lock);
  ++gate.m_ends;
  gate.m_changed.notify_all();
}

}  // namespace vx::test
