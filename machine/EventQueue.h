// CEventQueue: the one timeline of the board. Time is an f64 in microseconds. An event is a time, a
// registered callback's id and one word of user data. Processors are clients, which the queue asks
// to catch up with the next event's time before it fires that event.
#pragma once

#include <vector>

#include "base/StateStream.h"
#include "base/Types.h"

namespace vx {

// One pending event; the form in which a save state holds it.
struct SEvent {
  f64 time = 0.0;
  u32 id = 0;
  u32 padding = 0;  // saved; always written as 0 here
  u64 userData = 0;
};
static_assert(sizeof(SEvent) == 24 && offsetof(SEvent, userData) == 16);

class CEventQueue {
 public:
  using TimeFunction = f64 (*)(void* context);
  using Callback = void (*)(void* context, u64 userData, f64 time);
  // Runs up to the target time and answers the time reached.
  using Client = f64 (*)(void* context, f64 target);
  using Listener = void (*)(void* context);

  static constexpr u64 kMagic = 0xea7dafa7b00b5101;
  static constexpr u32 kIdleId = 0;
  static constexpr u32 kNoId = 0xFFFFFFFF;  // an id member before its registration
  // The most events that a state can bring; a board keeps a handful.
  static constexpr u32 kMaxLoadedEvents = 65536;

  CEventQueue() = default;
  CEventQueue(const CEventQueue&) = delete;
  CEventQueue& operator=(const CEventQueue&) = delete;

  // Sets the precise time function and takes id 0 for the callback that does nothing.
  void Initialise(TimeFunction timeFunction, void* context);

  // A free id: the one freed last, else a new one.
  u32 Register(Callback function, void* context);
  // Cancels the id's events and frees the id. Id 0 is never freed.
  void Unregister(u32 id);

  // Adds an event. One sooner than all others tells the listeners; a time that is not a number is
  // never reached.
  void Schedule(f64 time, u32 id, u64 userData);
  // Schedules an event's next firing one period on. A period that is not above 0 would never let
  // time pass: the event then stops.
  void SchedulePeriodic(f64 time, f64 periodUs, u32 id, u64 userData);
  // Removes all events of an id; id 0 removes all events. No listener is told.
  void Cancel(u32 id);

  // Answers the client's index, which stays valid.
  u32 AddClient(Client function, void* context, f64 startTime);
  // Puts another function behind a client's index; its time stays.
  void ReplaceClient(u32 index, Client function, void* context);
  void AddListener(Listener function, void* context);
  // Adds a time outside the queue that moves with its origin.
  void AddRebased(f64* time);
  void RemoveRebased(f64* time);

  // One step of the timeline: brings clients up to the soonest event and fires events until the
  // time that was soonest at entry has been reached.
  void Advance();
  // Makes the present time the origin.
  void Rebase();
  // Empties the timeline and sets it back to time 0; registrations stay.
  void Clear();
  // Ends running slices, as a sooner event does.
  void NotifyEarliest();

  f64 Now() const { return timeFunction_(timeContext_); }
  f64 LastFired() const { return now_; }
  bool IsEmpty() const { return entries_.empty(); }
  // Pending events, soonest last.
  const std::vector<SEvent>& Entries() const { return entries_; }
  f64 ClientTime(u32 index) const { return clients_[index].time; }

  void Save(SStateStream& stream) const;
  // Takes everything as it stands; MendLoaded makes it fit to run.
  void Load(SStateStream& stream);
  // Brings times that no board writes to the present, so that time passes whatever was loaded: an
  // event lies after the last one fired or next to it, the soonest stands last, and no client is
  // out of reach. A timeline that was saved here stays as it is.
  void MendLoaded();
  // The same for a time outside the queue.
  void MendTime(f64& time) const;
  // Puts a copy of Entries() back.
  void Restore(const std::vector<SEvent>& entries) { entries_ = entries; }
  // Removes all events of an id but the soonest.
  void KeepSoonest(u32 id);
  // Removes the events of ids that nobody has registered here.
  void DropUnknownIds();
  // When the id's soonest event is due; infinity if none is pending.
  f64 TimeOf(u32 id) const;

 private:
  struct SCallback {
    Callback function;
    void* context;
  };
  struct SClient {
    Client function;
    void* context;
    f64 time;
  };
  struct SListener {
    Listener function;
    void* context;
  };
  static_assert(sizeof(SCallback) == 16 && sizeof(SClient) == 24 && sizeof(SListener) == 16);

  f64 RunClients();
  void Fire(f64 time);

  TimeFunction timeFunction_ = nullptr;
  void* timeContext_ = nullptr;
  std::vector<SEvent> entries_;
  std::vector<SCallback> callbacks_;
  std::vector<SClient> clients_;
  std::vector<SListener> listeners_;
  std::vector<f64*> rebased_;
  std::vector<u32> freeIds_;
  f64 now_ = 0.0;  // time of the last fired event
  u64 magic_ = 0;
};

}  // namespace vx
