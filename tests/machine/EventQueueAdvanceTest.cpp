// Advancing, clients and the moving origin of the timeline.
#include <functional>
#include <limits>

#include "tests/machine/EventQueueTest.h"

namespace vx::test {
namespace {

struct EventQueueAdvance : CEventQueueTest {
  // A client that answers by a function of the target and remembers the targets.
  struct SClient {
    std::function<f64(f64)> answer = [](f64 target) { return target; };
    std::vector<f64> targets;
    u32 index = 0;
  };
  SClient first, second;

  void Add(SClient& client, f64 startTime = 0.0) {
    client.index = queue.AddClient(Run, &client, startTime);
  }
  static f64 Run(void* context, f64 target) {
    auto* const client = static_cast<SClient*>(context);
    client->targets.push_back(target);
    return client->answer(target);
  }
  EventQueueAdvance() { RegisterUpTo(3); }
};

TEST_F(EventQueueAdvance, AnEmptyQueueReturnsAtOnceAndRunsNobody) {
  Add(first);
  queue.Advance();
  EXPECT_TRUE(first.targets.empty());
  EXPECT_EQ(queue.LastFired(), 0.0);
}

TEST_F(EventQueueAdvance, ACallbackGetsItsContextDataAndTime) {
  queue.Schedule(12.5, 2, 99);
  queue.Advance();
  EXPECT_EQ(fired, (std::vector<SFired>{{2, 99, 12.5}}));
  EXPECT_EQ(queue.LastFired(), 12.5);
}

TEST_F(EventQueueAdvance, OneStepFiresOneEventWhenTheClientReachesItExactly) {
  Add(first);
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(20.0, 2, 0);
  queue.Advance();
  EXPECT_EQ(fired.size(), 1u);
  EXPECT_EQ(first.targets, (std::vector<f64>{10.0}));
  EXPECT_EQ(queue.ClientTime(first.index), 10.0);
  queue.Advance();
  EXPECT_EQ(fired.size(), 2u);
}

TEST_F(EventQueueAdvance, EventsAtOneTimeFireInSeparateSteps) {
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(10.0, 2, 0);
  queue.Advance();
  EXPECT_EQ(fired, (std::vector<SFired>{{2, 0, 10.0}}));
  queue.Advance();
  EXPECT_EQ(fired.size(), 2u);
}

TEST_F(EventQueueAdvance, AnEventThatTheTargetsCallbackSchedulesAtTheSameTimeWaits) {
  const u32 id =
      queue.Register([](void* context, u64,
                        f64 time) { static_cast<CEventQueue*>(context)->Schedule(time, 1, 5); },
                     &queue);
  queue.Schedule(10.0, id, 0);
  queue.Advance();
  EXPECT_TRUE(fired.empty());
  EXPECT_EQ(queue.Entries().size(), 1u);
  queue.Advance();
  EXPECT_EQ(fired, (std::vector<SFired>{{1, 5, 10.0}}));
}

TEST_F(EventQueueAdvance, AClientThatStopsEarlyIsAskedAgainBeforeTheEventFires) {
  Add(first);
  std::vector<f64> steps = {4.0, 7.0, 10.0};
  u32 step = 0;
  first.answer = [&](f64) {
    EXPECT_TRUE(fired.empty());
    return steps[step++];
  };
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  EXPECT_EQ(first.targets, (std::vector<f64>{10.0, 10.0, 10.0}));
  EXPECT_EQ(fired, (std::vector<SFired>{{1, 0, 10.0}}));
}

TEST_F(EventQueueAdvance, AnOvershootFiresTheEventAtItsOwnTime) {
  Add(first);
  first.answer = [](f64 target) { return target + 3.0; };
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  EXPECT_EQ(fired, (std::vector<SFired>{{1, 0, 10.0}}));
  EXPECT_EQ(queue.ClientTime(first.index), 13.0);
  EXPECT_EQ(queue.LastFired(), 10.0);
}

TEST_F(EventQueueAdvance, AClientAtOrPastTheTimeIsSkippedAndDoesNotHoldTheEventBack) {
  Add(first, 10.0);
  Add(second, 50.0);
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  EXPECT_TRUE(first.targets.empty());
  EXPECT_TRUE(second.targets.empty());
  EXPECT_EQ(fired.size(), 1u);
}

TEST_F(EventQueueAdvance, AnEarlyAnswerIsTheTargetOfTheNextClient) {
  Add(first);
  Add(second);
  bool bEarly = true;
  first.answer = [&](f64 target) {
    const f64 answer = bEarly ? 6.0 : target;
    bEarly = false;
    return answer;
  };
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  EXPECT_EQ(first.targets, (std::vector<f64>{10.0, 10.0}));
  EXPECT_EQ(second.targets, (std::vector<f64>{6.0, 10.0}));
  EXPECT_EQ(fired.size(), 1u);
}

TEST_F(EventQueueAdvance, ASoonerEventOfAClientEndsThePassAndFiresFirst) {
  Add(first);
  Add(second);
  first.answer = [&](f64 target) {
    if (first.targets.size() == 1) queue.Schedule(3.0, 2, 0);
    return target;
  };
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  EXPECT_EQ(second.targets.front(), 3.0) << "the second client is not asked in the broken pass";
  EXPECT_EQ(fired, (std::vector<SFired>{{2, 0, 3.0}, {1, 0, 10.0}}));
}

TEST_F(EventQueueAdvance, AClientThatCancelsTheSoonestEventEndsThePassToo) {
  Add(first);
  Add(second);
  first.answer = [&](f64 target) {
    if (first.targets.size() == 1) queue.Cancel(1);
    return target;
  };
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(30.0, 2, 0);
  queue.Advance();
  EXPECT_EQ(second.targets, (std::vector<f64>{30.0}));
  EXPECT_EQ(fired, (std::vector<SFired>{{2, 0, 30.0}}));
}

TEST_F(EventQueueAdvance, AnEventAtTheSameTimeDoesNotEndThePass) {
  Add(first);
  Add(second);
  first.answer = [&](f64 target) {
    queue.Schedule(10.0, 3, 0);
    return target;
  };
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  EXPECT_EQ(second.targets, (std::vector<f64>{10.0}));
  EXPECT_EQ(fired, (std::vector<SFired>{{3, 0, 10.0}}));
}

TEST_F(EventQueueAdvance, AClientThatEmptiesTheQueueEndsTheStep) {
  Add(first);
  first.answer = [&](f64 target) {
    queue.Cancel(0);
    return target;
  };
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  EXPECT_TRUE(fired.empty());
}

TEST_F(EventQueueAdvance, UnknownIdsAndNullFunctionsAreDroppedWithoutACall) {
  const u32 null = queue.Register(nullptr, nullptr);
  for (const u32 id : {u32{1000}, CEventQueue::kNoId, null}) {
    queue.Schedule(10.0, id, 0);
    queue.Advance();
    EXPECT_TRUE(queue.IsEmpty());
  }
  EXPECT_TRUE(fired.empty());
}

TEST_F(EventQueueAdvance, AReplacedClientKeepsItsTime) {
  Add(first);
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  queue.ReplaceClient(first.index, Run, &second);
  EXPECT_EQ(queue.ClientTime(first.index), 10.0);
  queue.Schedule(20.0, 1, 0);
  queue.Advance();
  EXPECT_EQ(first.targets.size(), 1u);
  EXPECT_EQ(second.targets, (std::vector<f64>{20.0}));
}

TEST_F(EventQueueAdvance, NowIsThePreciseTime) {
  preciseTime = 123.25;
  EXPECT_EQ(queue.Now(), 123.25);
}

// --- The moving origin ---------------------------------------------------------------------------

TEST_F(EventQueueAdvance, RebasingMovesEventsClientsAndRebasedTimes) {
  Add(first);
  f64 inside = 10.5, outside = 10.5;
  queue.AddRebased(&inside);
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(25.0, 2, 0);
  queue.Advance();
  queue.Rebase();
  EXPECT_EQ(queue.LastFired(), 0.0);
  EXPECT_EQ(queue.Entries().back().time, 15.0);
  EXPECT_EQ(queue.ClientTime(first.index), 0.0);
  EXPECT_EQ(inside, 0.5);
  EXPECT_EQ(outside, 10.5);
}

TEST_F(EventQueueAdvance, RebasingAtTheOriginChangesNothing) {
  f64 time = 7.0;
  queue.AddRebased(&time);
  queue.Schedule(25.0, 2, 0);
  queue.Rebase();
  EXPECT_EQ(queue.Entries().back().time, 25.0);
  EXPECT_EQ(time, 7.0);
}

TEST_F(EventQueueAdvance, ARebasedTimeCanBeTakenOut) {
  f64 stays = 20.0, moves = 20.0;
  queue.AddRebased(&stays);
  queue.AddRebased(&moves);
  queue.RemoveRebased(&stays);
  queue.Schedule(10.0, 1, 0);
  queue.Advance();
  queue.Rebase();
  EXPECT_EQ(stays, 20.0);
  EXPECT_EQ(moves, 10.0);
}

TEST_F(EventQueueAdvance, ClearingEmptiesTheTimelineAndSetsItBackButKeepsRegistrations) {
  Add(first);
  f64 time = 3.0;
  queue.AddRebased(&time);
  queue.Schedule(10.0, 1, 0);
  queue.Schedule(20.0, 1, 0);
  queue.Advance();
  queue.Clear();
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(queue.LastFired(), 0.0);
  EXPECT_EQ(queue.ClientTime(first.index), 0.0);
  EXPECT_EQ(Register(), 4u);
  queue.Schedule(5.0, 1, 0);
  queue.Advance();
  EXPECT_EQ(first.targets.back(), 5.0);
  queue.Rebase();
  EXPECT_EQ(time, -2.0);
}

}  // namespace
}  // namespace vx::test
