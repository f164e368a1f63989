#include "machine/EventQueue.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vx {

namespace {

// The array's order: later times first, so that the soonest event is at the end. Among equal times
// the highest id fires first, and within one id the highest user data.
bool ComesBefore(const SEvent& x, const SEvent& y) {
  if (x.time != y.time) return x.time > y.time;
  if (x.id != y.id) return x.id < y.id;
  return x.userData < y.userData;
}

void DoNothing(void*, u64, f64) {}

}  // namespace

void CEventQueue::Initialise(TimeFunction timeFunction, void* context) {
  m_timeFunction = timeFunction;
  m_timeContext = context;
  m_magic = kMagic;
  m_entries.reserve(64);  // a board keeps a handful pending; frames must not allocate
  Register(DoNothing, nullptr);
}

u32 CEventQueue::Register(Callback function, void* context) {
  if (m_freeIds.empty()) {
    m_callbacks.push_back({function, context});
    return static_cast<u32>(m_callbacks.size() - 1);
  }
  const u32 id = m_freeIds.back();
  m_freeIds.pop_back();
  m_callbacks[id] = {function, context};
  return id;
}

void CEventQueue::Unregister(u32 id) {
  if (id == kIdleId || id >= m_callbacks.size()) return;
  Cancel(id);
  if (m_callbacks[id].function == nullptr) return;
  m_callbacks[id] = {nullptr, nullptr};
  m_freeIds.push_back(id);
}

void CEventQueue::Schedule(f64 time, u32 id, u64 userData) {
  if (std::isnan(time)) time = std::numeric_limits<f64>::infinity();
  const SEvent event{time, id, 0, userData};
  if (!m_entries.empty() && m_entries.back().time > time) {
    m_entries.push_back(event);
    NotifyEarliest();
    return;
  }
  const auto place = std::partition_point(m_entries.begin(), m_entries.end(),
                                          [&](const SEvent& x) { return ComesBefore(x, event); });
  m_entries.insert(place, event);
}

void CEventQueue::SchedulePeriodic(f64 time, f64 periodUs, u32 id, u64 userData) {
  if (periodUs > 0.0) Schedule(time + periodUs, id, userData);
}

void CEventQueue::Cancel(u32 id) {
  if (id == kIdleId) {
    m_entries.clear();
    return;
  }
  std::erase_if(m_entries, [id](const SEvent& event) { return event.id == id; });
}

u32 CEventQueue::AddClient(Client function, void* context, f64 startTime) {
  m_clients.push_back({function, context, startTime});
  return static_cast<u32>(m_clients.size() - 1);
}

void CEventQueue::ReplaceClient(u32 index, Client function, void* context) {
  m_clients[index].function = function;
  m_clients[index].context = context;
}

void CEventQueue::AddListener(Listener function, void* context) {
  m_listeners.push_back({function, context});
}

void CEventQueue::AddRebased(f64* time) {
  m_rebased.push_back(time);
}

void CEventQueue::RemoveRebased(f64* time) {
  std::erase(m_rebased, time);
}

// Asks each client to reach the soonest event. Answers the time that all of them have reached, or
// nothing reachable (minus infinity) if a client changed what is soonest.
f64 CEventQueue::RunClients() {
  f64 t = m_entries.back().time;
  for (SClient& client : m_clients) {
    if (!(t > client.time)) continue;
    client.time = client.function(client.context, t);
    if (m_entries.empty() || m_entries.back().time != t) {
      return -std::numeric_limits<f64>::infinity();
    }
    t = std::min(t, client.time);
  }
  return t;
}

void CEventQueue::Fire(f64 time) {
  m_now = time;
  const SEvent event = m_entries.back();
  m_entries.pop_back();
  if (event.id >= m_callbacks.size()) return;
  const SCallback callback = m_callbacks[event.id];
  if (callback.function != nullptr) callback.function(callback.context, event.userData, time);
}

void CEventQueue::Advance() {
  const f64 target = m_entries.empty() ? 0.0 : m_entries.back().time;
  do {
    if (m_entries.empty()) return;
    const f64 reached = RunClients();
    if (m_entries.empty()) return;
    if (reached >= m_entries.back().time) Fire(reached);
  } while (target > m_now);
}

void CEventQueue::Rebase() {
  if (!(m_now > 0.0)) return;
  for (SEvent& event : m_entries) event.time -= m_now;
  for (SClient& client : m_clients) client.time -= m_now;
  for (f64* time : m_rebased) *time -= m_now;
  m_now = 0.0;
}

void CEventQueue::Clear() {
  m_entries.clear();
  m_now = 0.0;
  for (SClient& client : m_clients) client.time = 0.0;
}

void CEventQueue::NotifyEarliest() {
  for (const SListener& listener : m_listeners) listener.function(listener.context);
}

void CEventQueue::Save(SStateStream& stream) const {
  WriteValue(stream, m_now);
  WriteValue(stream, static_cast<u32>(m_entries.size()));
  WriteValue(stream, static_cast<u32>(m_clients.size()));
  for (const SEvent& event : m_entries) WriteValue(stream, event);
  for (const SClient& client : m_clients) WriteValue(stream, client.time);
}

void CEventQueue::Load(SStateStream& stream) {
  u32 eventCount = 0;
  u32 clientCount = 0;
  ReadValue(stream, m_now);
  ReadValue(stream, eventCount);
  ReadValue(stream, clientCount);
  m_entries.assign(std::min(eventCount, kMaxLoadedEvents), SEvent{});
  for (SEvent& event : m_entries) {
    ReadValue(stream, event);
    if (std::isnan(event.time)) event.time = std::numeric_limits<f64>::infinity();
  }
  if (clientCount == m_clients.size()) {
    for (SClient& client : m_clients) ReadValue(stream, client.time);
  }
}

}  // namespace vx
