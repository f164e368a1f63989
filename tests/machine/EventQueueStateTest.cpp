// The timeline's part of a save state.
#include <cstring>
#include <limits>

#include "tests/machine/EventQueueTest.h"

namespace vx::test {
namespace {

struct EventQueueState : CEventQueueTest {
  std::vector<u8> bytes = std::vector<u8>(4096, 0xA5);

  EventQueueState() { RegisterUpTo(3); }

  static f64 Reach(void*, f64 target) { return target; }

  SStateStream Stream(u32 capacity) { return {bytes.data(), capacity, 0, 0}; }
  SStateStream Stream() { return Stream(static_cast<u32>(bytes.size())); }
  template <typename T>
  T At(u32 offset) const {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
  }
  template <typename T>
  void Put(u32 offset, T value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
  }
  // A state with these counts and zeroed events and times behind them.
  void PutHead(f64 now, u32 events, u32 clients) {
    std::memset(bytes.data(), 0, bytes.size());
    Put(0, now);
    Put(8, events);
    Put(12, clients);
  }
};

TEST_F(EventQueueState, HoldsTimeCountsEventsAndClientTimesInOrder) {
  queue.AddClient(Reach, nullptr, 0.0);
  queue.Schedule(5.0, 3, 1);
  queue.Advance();
  queue.Schedule(16.0, 2, 0x1122334455667788);
  queue.Schedule(9.0, 1, 7);
  SStateStream stream = Stream();
  queue.Save(stream);
  EXPECT_EQ(stream.position, 16u + 2 * 24 + 8);
  EXPECT_EQ(At<f64>(0), 5.0);
  EXPECT_EQ(At<u32>(8), 2u);
  EXPECT_EQ(At<u32>(12), 1u);
  EXPECT_EQ(At<f64>(16), 16.0) << "soonest last";
  EXPECT_EQ(At<u32>(24), 2u);
  EXPECT_EQ(At<u32>(28), 0u) << "padding";
  EXPECT_EQ(At<u64>(32), 0x1122334455667788u);
  EXPECT_EQ(At<f64>(40), 9.0);
  EXPECT_EQ(At<u32>(52), 0u) << "padding";
  EXPECT_EQ(At<f64>(64), 5.0) << "client time";
  EXPECT_EQ(bytes[72], 0xA5) << "nothing behind";
}

TEST_F(EventQueueState, AnEmptyStreamMeasuresWhatASaveNeeds) {
  queue.Schedule(1.0, 1, 0);
  SStateStream stream = Stream(0);
  queue.Save(stream);
  EXPECT_EQ(stream.position, 16u + 24);
  EXPECT_EQ(bytes[0], 0xA5);
}

TEST_F(EventQueueState, LoadingGivesBackWhatWasSaved) {
  queue.AddClient(Reach, nullptr, 0.0);
  queue.Schedule(5.0, 3, 1);
  queue.Advance();
  queue.Schedule(16.0, 2, 8);
  queue.Schedule(9.0, 1, 7);
  SStateStream stream = Stream();
  queue.Save(stream);
  FireAll();
  stream = Stream();
  queue.Load(stream);
  EXPECT_EQ(queue.LastFired(), 5.0);
  EXPECT_EQ(queue.ClientTime(0), 5.0);
  fired.clear();
  FireAll();
  EXPECT_EQ(fired, (std::vector<SFired>{{1, 7, 9.0}, {2, 8, 16.0}}));
}

TEST_F(EventQueueState, AnotherClientCountKeepsThePresentTimesAndSkipsNothing) {
  queue.AddClient(Reach, nullptr, 77.0);
  for (const u32 count : {0u, 2u, 0xFFFFFFFFu}) {
    PutHead(1.0, 1, count);
    SStateStream stream = Stream();
    queue.Load(stream);
    EXPECT_EQ(queue.ClientTime(0), 77.0);
    EXPECT_EQ(stream.position, 16u + 24) << "left short by the times";
  }
}

TEST_F(EventQueueState, RecordsPastTheEndStayZeroAndTheReadGoesOn) {
  PutHead(1.0, 4, 0);
  Put(16, 8.0);
  Put(24, u32{2});
  SStateStream stream = Stream(16 + 24 + 10);
  queue.Load(stream);
  ASSERT_EQ(queue.Entries().size(), 4u);
  EXPECT_EQ(queue.Entries()[0].time, 8.0);
  for (u32 i = 1; i < 4; ++i) {
    EXPECT_EQ(queue.Entries()[i].time, 0.0);
    EXPECT_EQ(queue.Entries()[i].id, 0u);
    EXPECT_EQ(queue.Entries()[i].userData, 0u);
  }
  EXPECT_EQ(stream.position, 40u);
}

TEST_F(EventQueueState, WithoutEightBytesThePresentTimeStays) {
  queue.Schedule(5.0, 1, 0);
  queue.Advance();
  SStateStream stream = Stream(3);
  queue.Load(stream);
  EXPECT_EQ(queue.LastFired(), 5.0);
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_F(EventQueueState, ACountOfEventsBeyondReasonIsCutOff) {
  PutHead(0.0, 0xFFFFFFFF, 0);
  SStateStream stream = Stream();
  queue.Load(stream);
  EXPECT_EQ(queue.Entries().size(), 65536u);
}

TEST_F(EventQueueState, IdsAreTakenAsTheyStandAndFiringAnUnknownOneIsHarmless) {
  PutHead(0.0, 1, 0);
  Put(16, 3.0);
  Put(24, u32{0xDEADBEEF});
  SStateStream stream = Stream();
  queue.Load(stream);
  EXPECT_EQ(queue.Entries()[0].id, 0xDEADBEEFu);
  queue.Advance();
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_F(EventQueueState, ATimeThatIsNoNumberLoadsAsNeverReached) {
  PutHead(0.0, 1, 0);
  Put(16, std::numeric_limits<f64>::quiet_NaN());
  SStateStream stream = Stream();
  queue.Load(stream);
  EXPECT_EQ(queue.Entries()[0].time, std::numeric_limits<f64>::infinity());
}

}  // namespace
}  // namespace vx::test
