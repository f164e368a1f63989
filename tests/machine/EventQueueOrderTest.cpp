// Registration, order and the listener rule of the timeline.
#include <cmath>
#include <limits>

#include "tests/machine/EventQueueTest.h"

namespace vx::test {
namespace {

using EventQueueOrder = CEventQueueTest;

std::vector<u32> IdsOf(const std::vector<SEvent>& events) {
  std::vector<u32> ids;
  for (const SEvent& event : events) ids.push_back(event.id);
  return ids;
}

TEST_F(EventQueueOrder, IdZeroIsTakenByTheIdleCallback) {
  EXPECT_EQ(Register(), 1u);
  queue.Schedule(1.0, 0, 0);
  queue.Advance();
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_TRUE(fired.empty());
}

TEST_F(EventQueueOrder, IdsAreGivenInRisingOrder) {
  EXPECT_EQ(Register(), 1u);
  EXPECT_EQ(Register(), 2u);
  EXPECT_EQ(Register(), 3u);
}

TEST_F(EventQueueOrder, TheIdFreedLastIsReusedFirst) {
  RegisterUpTo(4);
  queue.Unregister(2);
  queue.Unregister(4);
  queue.Unregister(1);
  EXPECT_EQ(Register(), 1u);
  EXPECT_EQ(Register(), 4u);
  EXPECT_EQ(Register(), 2u);
  EXPECT_EQ(Register(), 5u);
}

TEST_F(EventQueueOrder, UnregisteringCancelsTheIdsEvents) {
  RegisterUpTo(2);
  queue.Schedule(1.0, 1, 0);
  queue.Schedule(2.0, 2, 0);
  queue.Schedule(3.0, 1, 0);
  queue.Unregister(1);
  EXPECT_EQ(IdsOf(queue.Entries()), (std::vector<u32>{2}));
}

TEST_F(EventQueueOrder, UnregisteringANullSlotCancelsItsEventsButFreesNoId) {
  const u32 id = queue.Register(nullptr, nullptr);
  queue.Schedule(1.0, id, 0);
  queue.Unregister(id);
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(Register(), id + 1);
}

TEST_F(EventQueueOrder, UnregisteringTwiceFreesTheIdOnce) {
  RegisterUpTo(2);
  queue.Unregister(1);
  queue.Unregister(1);
  EXPECT_EQ(Register(), 1u);
  EXPECT_EQ(Register(), 3u);
}

TEST_F(EventQueueOrder, IdZeroIsNeverFreed) {
  RegisterUpTo(1);
  queue.Schedule(1.0, 1, 0);
  queue.Unregister(0);
  EXPECT_FALSE(queue.IsEmpty()) << "an id that was never filled must not wipe the queue";
  EXPECT_EQ(Register(), 2u);
}

TEST_F(EventQueueOrder, UnregisteringAnUnknownIdIsHarmless) {
  queue.Unregister(77);
  queue.Unregister(CEventQueue::kNoId);
  EXPECT_EQ(Register(), 1u);
}

TEST_F(EventQueueOrder, EarlierEventsFireFirst) {
  RegisterUpTo(3);
  queue.Schedule(20.0, 1, 0);
  queue.Schedule(10.0, 2, 0);
  queue.Schedule(15.0, 3, 0);
  FireAll();
  EXPECT_EQ(fired, (std::vector<SFired>{{2, 0, 10.0}, {3, 0, 15.0}, {1, 0, 20.0}}));
}

TEST_F(EventQueueOrder, AtOneTimeTheHighestIdFiresFirst) {
  RegisterUpTo(5);
  for (const bool bSwapped : {false, true}) {
    fired.clear();
    queue.Schedule(10.0, bSwapped ? 5 : 3, 0);
    queue.Schedule(10.0, bSwapped ? 3 : 5, 0);
    FireAll();
    EXPECT_EQ(fired, (std::vector<SFired>{{5, 0, 10.0}, {3, 0, 10.0}}));
  }
}

TEST_F(EventQueueOrder, WithinOneIdTheHighestUserDataFiresFirstUnsigned) {
  RegisterUpTo(1);
  constexpr u64 kLargest = ~u64{0};
  for (const u64 data : {u64{1}, kLargest, u64{2}, u64{1} << 32}) queue.Schedule(10.0, 1, data);
  FireAll();
  EXPECT_EQ(fired, (std::vector<SFired>{
                       {1, kLargest, 10.0}, {1, u64{1} << 32, 10.0}, {1, 2, 10.0}, {1, 1, 10.0}}));
}

TEST_F(EventQueueOrder, ExactDuplicatesFireOldestFirst) {
  RegisterUpTo(1);
  // Zero and negative zero are one time and can yet be told apart.
  queue.Schedule(0.0, 1, 7);
  queue.Schedule(-0.0, 1, 7);
  ASSERT_EQ(queue.Entries().size(), 2u);
  EXPECT_FALSE(std::signbit(queue.Entries()[1].time)) << "soonest last: the older one";
  EXPECT_TRUE(std::signbit(queue.Entries()[0].time));
}

TEST_F(EventQueueOrder, TheArrayHoldsTheSoonestEventLast) {
  RegisterUpTo(7);
  queue.Schedule(16.0, 6, 0);
  queue.Schedule(2.0, 1, 2);
  queue.Schedule(15.0, 7, 0);
  queue.Schedule(1.0, 5, 0);
  EXPECT_EQ(IdsOf(queue.Entries()), (std::vector<u32>{6, 7, 1, 5}));
}

TEST_F(EventQueueOrder, CancelKeepsTheOrderOfTheRest) {
  RegisterUpTo(3);
  for (const f64 time : {5.0, 3.0, 1.0}) queue.Schedule(time, 1, 0);
  for (const f64 time : {4.0, 2.0}) queue.Schedule(time, 2, 0);
  queue.Schedule(3.5, 3, 0);
  queue.Cancel(1);
  FireAll();
  EXPECT_EQ(fired, (std::vector<SFired>{{2, 0, 2.0}, {3, 0, 3.5}, {2, 0, 4.0}}));
}

TEST_F(EventQueueOrder, CancellingAnIdWithoutEventsChangesNothing) {
  RegisterUpTo(2);
  queue.Schedule(1.0, 1, 0);
  queue.Cancel(2);
  queue.Cancel(99);
  EXPECT_EQ(queue.Entries().size(), 1u);
}

TEST_F(EventQueueOrder, CancellingIdZeroEmptiesTheQueue) {
  RegisterUpTo(2);
  queue.Schedule(1.0, 1, 0);
  queue.Schedule(2.0, 2, 0);
  queue.Cancel(0);
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(Register(), 3u) << "registrations stay";
}

TEST_F(EventQueueOrder, ATimeThatIsNoNumberIsNeverReached) {
  RegisterUpTo(2);
  queue.Schedule(std::numeric_limits<f64>::quiet_NaN(), 1, 0);
  queue.Schedule(5.0, 2, 0);
  queue.Advance();
  EXPECT_EQ(fired, (std::vector<SFired>{{2, 0, 5.0}}));
  EXPECT_EQ(queue.Entries().front().time, std::numeric_limits<f64>::infinity());
}

TEST_F(EventQueueOrder, APeriodThatDoesNotLetTimePassEndsTheRepetition) {
  RegisterUpTo(1);
  for (const f64 period : {0.0, -1.0, -0.0, std::numeric_limits<f64>::quiet_NaN()}) {
    queue.SchedulePeriodic(100.0, period, 1, 0);
    EXPECT_TRUE(queue.IsEmpty()) << period;
  }
  queue.SchedulePeriodic(100.0, 0.5, 1, 3);
  ASSERT_EQ(queue.Entries().size(), 1u);
  EXPECT_EQ(queue.Entries()[0].time, 100.5);
  EXPECT_EQ(queue.Entries()[0].userData, 3u);
}

// --- Listeners -----------------------------------------------------------------------------------

struct EventQueueListeners : CEventQueueTest {
  std::vector<u32> told;
  struct SListener {
    EventQueueListeners* test;
    u32 number;
  } listeners[2] = {{this, 1}, {this, 2}};

  EventQueueListeners() {
    RegisterUpTo(3);
    for (SListener& listener : listeners) {
      queue.AddListener(
          [](void* context) {
            auto* const one = static_cast<SListener*>(context);
            one->test->told.push_back(one->number);
          },
          &listener);
    }
  }
};

TEST_F(EventQueueListeners, AnEventIntoAnEmptyQueueTellsNobody) {
  queue.Schedule(10.0, 1, 0);
  EXPECT_TRUE(told.empty());
}

TEST_F(EventQueueListeners, AnEventSoonerThanTheSoonestTellsEveryListenerInOrder) {
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(9.0, 1, 0);
  EXPECT_EQ(told, (std::vector<u32>{1, 2}));
}

TEST_F(EventQueueListeners, AnEventAtTheSoonestTimeTellsNobodyEvenIfItFiresFirst) {
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(10.0, 3, 0);
  queue.Schedule(10.0, 3, 9);
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(queue.Entries().back().userData, 9u);
}

TEST_F(EventQueueListeners, ALaterEventTellsNobody) {
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(11.0, 1, 0);
  EXPECT_TRUE(told.empty());
}

TEST_F(EventQueueListeners, CancellingAndAdvancingTellNobody) {
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(11.0, 2, 0);
  queue.Cancel(1);
  queue.Advance();
  queue.Schedule(1.0, 1, 0);
  queue.Cancel(0);
  EXPECT_TRUE(told.empty());
}

TEST_F(EventQueueListeners, TheyCanBeToldDirectly) {
  queue.NotifyEarliest();
  EXPECT_EQ(told, (std::vector<u32>{1, 2}));
}

TEST_F(EventQueueListeners, TheEventIsInTheQueueWhenTheyAreTold) {
  CEventQueue* const watched = &queue;
  queue.AddListener(
      [](void* context) {
        EXPECT_EQ(static_cast<CEventQueue*>(context)->Entries().back().time, 4.0);
      },
      watched);
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(4.0, 1, 0);
  EXPECT_EQ(told.size(), 2u);
}

}  // namespace
}  // namespace vx::test
