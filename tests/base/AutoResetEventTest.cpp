#include "base/AutoResetEvent.h"

#include <gtest/gtest.h>

#include <thread>

#include "base/Types.h"

namespace vx {

namespace {

using std::chrono::milliseconds;

TEST(AutoResetEvent, StartsClear) {
  CAutoResetEvent event;
  EXPECT_FALSE(event.WaitFor(milliseconds(0)));
}

TEST(AutoResetEvent, SignalBeforeTheWaitReleasesIt) {
  CAutoResetEvent event;
  event.Signal();
  event.Wait();
  event.Signal();
  EXPECT_TRUE(event.WaitFor(milliseconds(0)));
}

TEST(AutoResetEvent, ClearsItselfWithEachWait) {
  CAutoResetEvent event;
  event.Signal();
  EXPECT_TRUE(event.WaitFor(milliseconds(0)));
  EXPECT_FALSE(event.WaitFor(milliseconds(0)));
  event.Signal();
  event.Wait();
  EXPECT_FALSE(event.WaitFor(milliseconds(0)));
}

TEST(AutoResetEvent, SignalsDoNotCount) {
  CAutoResetEvent event;
  event.Signal();
  event.Signal();
  event.Signal();
  EXPECT_TRUE(event.WaitFor(milliseconds(0)));
  EXPECT_FALSE(event.WaitFor(milliseconds(0)));
}

TEST(AutoResetEvent, HandsWorkBetweenTwoThreadsInTurn) {
  constexpr u32 kRounds = 2000;
  CAutoResetEvent request, reply;
  u32 value = 0;
  std::thread worker([&] {
    for (u32 i = 0; i < kRounds; ++i) {
      request.Wait();
      ++value;
      reply.Signal();
    }
  });
  for (u32 i = 0; i < kRounds; ++i) {
    request.Signal();
    reply.Wait();
    ASSERT_EQ(value, i + 1);
  }
  worker.join();
}

}  // namespace

}  // namespace vx
