// A queue by itself, with callbacks that write down what fired.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "machine/EventQueue.h"

namespace vx::test {

struct SFired {
  u32 id;
  u64 userData;
  f64 time;
  bool operator==(const SFired&) const = default;
};

struct CEventQueueTest : testing::Test {
  CEventQueue queue;
  std::vector<SFired> fired;
  f64 preciseTime = 0.0;

  // One registered callback with the place to which it reports.
  struct SCallback {
    CEventQueueTest* test;
    u32 id;
  };
  std::vector<std::unique_ptr<SCallback>> callbacks;

  CEventQueueTest() {
    queue.Initialise([](void* context) { return *static_cast<f64*>(context); }, &preciseTime);
  }

  u32 Register() {
    callbacks.push_back(std::make_unique<SCallback>(SCallback{this, 0}));
    SCallback* const callback = callbacks.back().get();
    callback->id = queue.Register(OnFired, callback);
    return callback->id;
  }
  // Registers until ids up to `last` exist.
  void RegisterUpTo(u32 last) {
    while (Register() < last) {
    }
  }
  static void OnFired(void* context, u64 userData, f64 time) {
    const auto* const callback = static_cast<SCallback*>(context);
    callback->test->fired.push_back({callback->id, userData, time});
  }
  // Fires everything that is pending.
  void FireAll() {
    while (!queue.IsEmpty()) queue.Advance();
  }
};

}  // namespace vx::test
