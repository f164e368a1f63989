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

// Frames start at time 0 and last a second at most; processors stop within a cycle of an event.
constexpr f64 kLatestTimeUs = 1e9;
constexpr f64 kLatenessUs = 1.0;

}  // namespace

void CEventQueue::Initialise(TimeFunction timeFunction, void* context) {
  timeFunction_ = timeFunction;
  timeContext_ = context;
  magic_ = kMagic;
  entries_.reserve(64);  // a board keeps a handful pending; frames must not allocate
  Register(DoNothing, nullptr);
}

u32 CEventQueue::Register(Callback function, void* context) {
  if (freeIds_.empty()) {
    callbacks_.push_back({function, context});
    return static_cast<u32>(callbacks_.size() - 1);
  }
  const u32 id = freeIds_.back();
  freeIds_.pop_back();
  callbacks_[id] = {function, context};
  return id;
}

void CEventQueue::Unregister(u32 id) {
  if (id == kIdleId || id >= callbacks_.size()) return;
  Cancel(id);
  if (callbacks_[id].function == nullptr) return;
  callbacks_[id] = {nullptr, nullptr};
  freeIds_.push_back(id);
}

void CEventQueue::Schedule(f64 time, u32 id, u64 userData) {
  if (std::isnan(time)) time = std::numeric_limits<f64>::infinity();
  const SEvent event{time, id, 0, userData};
  if (!entries_.empty() && entries_.back().time > time) {
    entries_.push_back(event);
    NotifyEarliest();
    return;
  }
  const auto place = std::partition_point(entries_.begin(), entries_.end(),
                                          [&](const SEvent& x) { return ComesBefore(x, event); });
  entries_.insert(place, event);
}

void CEventQueue::SchedulePeriodic(f64 time, f64 periodUs, u32 id, u64 userData) {
  if (periodUs > 0.0) Schedule(time + periodUs, id, userData);
}

void CEventQueue::Cancel(u32 id) {
  if (id == kIdleId) {
    entries_.clear();
    return;
  }
  std::erase_if(entries_, [id](const SEvent& event) { return event.id == id; });
}

u32 CEventQueue::AddClient(Client function, void* context, f64 startTime) {
  clients_.push_back({function, context, startTime});
  return static_cast<u32>(clients_.size() - 1);
}

void CEventQueue::ReplaceClient(u32 index, Client function, void* context) {
  clients_[index].function = function;
  clients_[index].context = context;
}

void CEventQueue::AddListener(Listener function, void* context) {
  listeners_.push_back({function, context});
}

void CEventQueue::AddRebased(f64* time) { rebased_.push_back(time); }

void CEventQueue::RemoveRebased(f64* time) { std::erase(rebased_, time); }

// Asks each client to reach the soonest event. Answers the time that all of them have reached, or
// nothing reachable (minus infinity) if a client changed what is soonest.
f64 CEventQueue::RunClients() {
  f64 t = entries_.back().time;
  for (SClient& client : clients_) {
    if (!(t > client.time)) continue;
    client.time = client.function(client.context, t);
    if (entries_.empty() || entries_.back().time != t) {
      return -std::numeric_limits<f64>::infinity();
    }
    t = std::min(t, client.time);
  }
  return t;
}

void CEventQueue::Fire(f64 time) {
  now_ = time;
  const SEvent event = entries_.back();
  entries_.pop_back();
  if (event.id >= callbacks_.size()) return;
  const SCallback callback = callbacks_[event.id];
  if (callback.function != nullptr) callback.function(callback.context, event.userData, time);
}

void CEventQueue::Advance() {
  const f64 target = entries_.empty() ? 0.0 : entries_.back().time;
  do {
    if (entries_.empty()) return;
    const f64 reached = RunClients();
    if (entries_.empty()) return;
    if (reached >= entries_.back().time) Fire(reached);
  } while (target > now_);
}

void CEventQueue::Rebase() {
  if (!(now_ > 0.0)) return;
  for (SEvent& event : entries_) event.time -= now_;
  for (SClient& client : clients_) client.time -= now_;
  for (f64* time : rebased_) *time -= now_;
  now_ = 0.0;
}

void CEventQueue::Clear() {
  entries_.clear();
  now_ = 0.0;
  for (SClient& client : clients_) client.time = 0.0;
}

void CEventQueue::NotifyEarliest() {
  for (const SListener& listener : listeners_) listener.function(listener.context);
}

void CEventQueue::Save(SStateStream& stream) const {
  WriteValue(stream, now_);
  WriteValue(stream, static_cast<u32>(entries_.size()));
  WriteValue(stream, static_cast<u32>(clients_.size()));
  for (const SEvent& event : entries_) WriteValue(stream, event);
  for (const SClient& client : clients_) WriteValue(stream, client.time);
}

void CEventQueue::Load(SStateStream& stream) {
  u32 eventCount = 0;
  u32 clientCount = 0;
  ReadValue(stream, now_);
  ReadValue(stream, eventCount);
  ReadValue(stream, clientCount);
  entries_.assign(std::min(eventCount, kMaxLoadedEvents), SEvent{});
  for (SEvent& event : entries_) {
    ReadValue(stream, event);
    if (std::isnan(event.time)) event.time = std::numeric_limits<f64>::infinity();
  }
  if (clientCount == clients_.size()) {
    for (SClient& client : clients_) ReadValue(stream, client.time);
  }
}

void CEventQueue::MendTime(f64& time) const {
  if (!(time >= now_ - kLatenessUs && time <= now_ + kLatestTimeUs)) time = now_;
}

void CEventQueue::MendLoaded() {
  if (!(now_ >= -kLatenessUs && now_ <= kLatestTimeUs)) now_ = 0.0;
  for (SClient& client : clients_) MendTime(client.time);
  for (SEvent& event : entries_) {
    if (event.time < now_ - kLatenessUs) event.time = now_;
  }
  // By time alone: two events that rebasing has brought to the same time keep their order.
  const auto later = [](const SEvent& x, const SEvent& y) { return x.time > y.time; };
  if (!std::is_sorted(entries_.begin(), entries_.end(), later)) {
    std::stable_sort(entries_.begin(), entries_.end(), later);
  }
}

void CEventQueue::KeepSoonest(u32 id) {
  const auto isOfId = [id](const SEvent& event) { return event.id == id; };
  const auto soonest = std::find_if(entries_.rbegin(), entries_.rend(), isOfId);
  if (soonest == entries_.rend()) return;
  entries_.erase(std::remove_if(entries_.begin(), soonest.base() - 1, isOfId), soonest.base() - 1);
}

void CEventQueue::DropUnknownIds() {
  std::erase_if(entries_, [this](const SEvent& event) { return event.id >= callbacks_.size(); });
}

f64 CEventQueue::TimeOf(u32 id) const {
  const auto soonest = std::find_if(entries_.rbegin(), entries_.rend(),
                                    [id](const SEvent& event) { return event.id == id; });
  return soonest != entries_.rend() ? soonest->time : std::numeric_limits<f64>::infinity();
}

}  // namespace vx
