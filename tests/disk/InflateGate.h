// Holds up the disk reader inside the host's Inflate, so that tests decide how far it has come and
// see in which order it works.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "tests/support/TestHost.h"

namespace vx::test {

// Inflates that the thread of the gate's constructor asks for (the ROMs of a pack) pass and are not
// counted. One gate exists at a time.
class CInflateGate {
 public:
  // Open or closed for the reader; takes the place of the host's Inflate while it exists.
  CInflateGate(CTestHost& host, bool bOpen);
  // Opens, so that nobody waits for ever. The machine's reader must have been stopped by then.
  ~CInflateGate();
  CInflateGate(const CInflateGate&) = delete;
  CInflateGate& operator=(const CInflateGate&) = delete;

  void Open();
  // Lets this many more inflates pass.
  void Pass(u32 count);
  // Waits until this many inflates have come to the gate since its start.
  void AwaitArrivals(u32 count);
  // Waits until this many have passed and ended.
  void AwaitEnds(u32 count);
  u32 Arrivals() const;
  // Where the inflates that have passed went, in their order.
  std::vector<const u8*> Targets() const;

 private:
  static void Inflate(void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32);

  CTestHost& m_host;
  decltype(SHostApi::Inflate) m_inflate;
  const std::thread::id m_owner = std::this_thread::get_id();
  mutable std::mutex m_lock;
  std::condition_variable m_changed;
  bool m_bOpen;
  u32 m_permits = 0;
  u32 m_arrivals = 0;
  u32 m_ends = 0;
  std::vector<const u8*> m_targets;
};

}  // namespace vx::test
