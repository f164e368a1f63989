// Identities, time, stepped frames, input, blobs and the projection.
#include <xxhash.h>

#include <cmath>
#include <limits>

#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

constexpr u32 kTime = 65, kStepMode = 66, kStepInstance = 67, kStepRequests = 68;
constexpr u32 kHashString = 70, kLoadBlob = 71, kStoreBlob = 72, kProject = 73;
constexpr u32 kInputPort = 74, kPlayerExtra = 75;

// --- Identities, time, input -------------------------------------------------------------------

using CScriptBoard = CScriptTest;

TEST_F(CScriptBoard, TheCodesHashIsThatOfTheEightSoundRoms) {
  Boot();
  u64 expected = 0;
  for (u32 i = 1; i <= 8; ++i) expected ^= kTestRomHash + i;
  EXPECT_EQ(Result<u64>(0), expected);
  EXPECT_EQ(Result<u64>(1), kTestDiskHash);
}

TEST_F(CScriptBoard, TimeIsThatOfTheQueue) {
  EXPECT_EQ(Result<f64>(kTime), 0.0);
  m->cpu.budget = 1000;
  m->cpu.cycles = 250;
  EXPECT_EQ(Result<f64>(kTime), 2.5);
  m->cpu.budget = m->cpu.cycles = 0;
}

TEST_F(CScriptBoard, PortsAndExtraBitsAreThoseOfTheInput) {
  SInputRecord records[2];
  records[0].padBits = 1;
  records[0].systemBits = 0x400;
  records[1].padBits = 2;
  records[1].systemBits = 0x80000000;
  m->SetInput(records, 2);
  EXPECT_EQ(Ask<u64>(kInputPort, {kOut, 0}), m->state.inputPort0);
  EXPECT_EQ(Ask<u64>(kInputPort, {kOut, 1}), m->state.inputPort1);
  EXPECT_EQ(Ask<u64>(kInputPort, {kOut, 77}), m->state.inputPort1);
  EXPECT_NE(m->state.inputPort0, m->state.inputPort1);
  EXPECT_EQ(Ask<u32>(kPlayerExtra, {kOut, 0}), 2u);
  EXPECT_EQ(Ask<u32>(kPlayerExtra, {kOut, 9}), 0x400000u);
}

// --- Stepped frames ----------------------------------------------------------------------------

class CScriptStep : public CScriptTest {
 protected:
  void Step(u32 enable, u32 mask) { Call(kStepMode, {enable, mask}); }
  u32& Flags() { return m->state.frameFlags; }
};

TEST_F(CScriptStep, LookAheadIsAskedForAndDropped) {
  Step(1, 0);
  EXPECT_EQ(Flags(), u32{kFrameLookAhead});
  Step(0x100, 0);
  EXPECT_EQ(Flags(), u32{kFrameLookAhead});
  Step(0, 0);
  EXPECT_EQ(Flags(), 0u);
}

TEST_F(CScriptStep, ArmingMarksTheFrameAndTakesEffectAfterARequest) {
  m->state.frameNumber = 42;
  Step(0, 1);
  EXPECT_EQ(m->scriptState.markFrame, 42u);
  EXPECT_EQ(Flags(), 0u);
  Step(0, 1 | 2);  // the request of the same call comes too late
  EXPECT_EQ(Flags(), u32{kFrameRequest2});
  Step(0, 1);
  EXPECT_EQ(Flags(), u32{kFrameRequest2 | kFrameArmed});
  Flags() = kFrameRequest4;
  Step(0, 1);
  EXPECT_EQ(Flags(), u32{kFrameRequest4 | kFrameArmed});
}

TEST_F(CScriptStep, ARequestEndsTheRunningSlice) {
  for (u32 mask = 1; mask < 8; mask <<= 1) {
    m->cpu.budget = 100;
    m->cpu.cycles = 10;
    m->cpu.stopMark = 0;
    Step(0, mask);
    EXPECT_EQ(m->cpu.cycles, 100u) << mask;
    EXPECT_EQ(m->cpu.stopMark, 11u) << mask;
  }
  m->cpu.cycles = 10;
  Step(0, 8 | 0xFFFFFFF0);
  EXPECT_EQ(m->cpu.cycles, 10u);
  EXPECT_NE(Flags() & kFrameStopLookAhead, 0u);
  m->cpu.budget = m->cpu.cycles = m->cpu.stopMark = 0;
}

TEST_F(CScriptStep, RequestsReadBackByTheirMaskBits) {
  EXPECT_EQ(Result<u32>(kStepRequests), 0u);
  for (const u32 mask : {2u, 4u, 8u}) {
    Flags() = 0;
    Step(0, mask);
    EXPECT_EQ(Result<u32>(kStepRequests), mask);
  }
  Step(1, 15);
  EXPECT_EQ(Result<u32>(kStepRequests), 14u);
}

TEST_F(CScriptStep, AnInstanceIsToldFromTheMachineBesideIt) {
  EXPECT_EQ(Result<u32>(kStepInstance), 0u);
  Flags() = kFrameLookAhead;
  EXPECT_EQ(Result<u32>(kStepInstance), 1u);
  Flags() = kFrameLookAhead | kFrameBranchOne;
  EXPECT_EQ(Result<u32>(kStepInstance), 2u);
  Flags() = kFrameLookAhead | kFrameBranchOne | kFrameBesideWorkers;
  EXPECT_EQ(Result<u32>(kStepInstance), 0u);
  Flags() = kFrameBranchOne;
  EXPECT_EQ(Result<u32>(kStepInstance), 0u);
}

// --- Text and blobs ----------------------------------------------------------------------------

class CScriptStore : public CScriptTest {
 protected:
  void Store(u64 key, const std::string& text) {
    std::memcpy(memory.data() + kData, text.data(), text.size());
    Put(kIn, key);
    Call(kStoreBlob, {kData, static_cast<u32>(text.size()), kIn});
  }
  u32 Load(u64 key, u32 bytes) {
    std::memset(memory.data() + kData, '.', 64);
    Put(kIn, key);
    return Ask<u32>(kLoadBlob, {kData, bytes, kIn, kOut});
  }
  std::string Text(u32 bytes) const {
    return {reinterpret_cast<const char*>(memory.data()) + kData, bytes};
  }
};

TEST_F(CScriptStore, TextIsHashedByTheHostUpToItsZero) {
  std::memcpy(memory.data() + kData, "lake\0side", 10);
  EXPECT_EQ(Ask<u64>(kHashString, {kData, kOut}), XXH3_64bits("lake", 4));
  EXPECT_EQ(Ask<u64>(kHashString, {kData + 4, kOut}), XXH3_64bits("", 0));
  host.Api().HashData = nullptr;
  EXPECT_EQ(Ask<u64>(kHashString, {kData, kOut}), 0u);
}

TEST_F(CScriptStore, ABlobComesBackByItsKey) {
  Store(0x123456789ABCDEF0, "hello");
  EXPECT_EQ(Load(0x123456789ABCDEF0, 5), 1u);
  EXPECT_EQ(Text(6), "hello.");
  EXPECT_EQ(Load(0x123456789ABCDEF0, 3), 1u);
  EXPECT_EQ(Text(4), "hel.");
  EXPECT_EQ(Load(0x9ABCDEF0, 1), 0u);
}

TEST_F(CScriptStore, MoreThanABlobHoldsIsNotLoaded) {
  Store(1, "hello");
  EXPECT_EQ(Load(1, 6), 0u);
  EXPECT_EQ(Load(1, 0xFFFFFFFF), 0u);
  EXPECT_EQ(Text(6), "......");
}

TEST_F(CScriptStore, AShorterBlobGoesIntoTheBufferThatStands) {
  Store(1, "hello");
  Store(1, "HE");
  EXPECT_EQ(Load(1, 5), 1u);
  EXPECT_EQ(Text(5), "HEllo");
  Store(1, "longer one");
  EXPECT_EQ(Load(1, 10), 1u);
  EXPECT_EQ(Text(10), "longer one");
}

TEST_F(CScriptStore, AnEmptyBlobIsThereAndHoldsNothing) {
  EXPECT_EQ(Load(1, 0), 0u);
  Store(1, "");
  EXPECT_EQ(Load(1, 0), 1u);
  EXPECT_EQ(Load(1, 1), 0u);
}

TEST_F(CScriptStore, BlobsOutliveAReset) {
  Store(1, "hello");
  Boot();
  EXPECT_EQ(Load(1, 5), 1u);
}

// --- Projection --------------------------------------------------------------------------------

constexpr i32 Fixed(f64 value) { return static_cast<i32>(value * 65536.0); }

struct SProjected {
  f32 x, y, w;
};

class CScriptProjection : public CScriptTest {
 protected:
  // A camera at the origin that looks along the second axis, one pixel to a unit at depth 1.
  CScriptProjection() {
    camera[7] = Fixed(1);
    camera[8] = Fixed(1);
  }
  SProjected Project(f64 p0, f64 p1, f64 p2, f32 bias = 0.0f) {
    const i32 point[3] = {Fixed(p0), Fixed(p1), Fixed(p2)};
    Put(kData, point);
    Put(kIn, camera);
    Put(kIn + 0x40, bias);
    Call(kProject, {kOut, 3, kData, kIn, kIn + 0x40, 1});
    return At<SProjected>(kOut);
  }

  i32 camera[12] = {};
};

TEST_F(CScriptProjection, APointAheadLiesAtTheCentre) {
  const SProjected seen = Project(0, 2, 0);
  EXPECT_EQ(seen.x, 160.0f);
  EXPECT_EQ(seen.y, 128.0f);
  EXPECT_NEAR(seen.w, 0.5f / (1.52e-05f * 65536.0f), 1e-5f);
  m->bIoLayoutB = 1;
  EXPECT_EQ(Project(0, 2, 0).y, 120.0f);
}

TEST_F(CScriptProjection, APointTooNearIsZeros) {
  const SProjected seen = Project(3, 0.04, 5);
  EXPECT_EQ(seen.x, 0.0f);
  EXPECT_EQ(seen.y, 0.0f);
  EXPECT_EQ(seen.w, 0.0f);
  EXPECT_NE(Project(0, 0.06, 0).w, 0.0f);
  EXPECT_EQ(Project(0, -5, 0).w, 0.0f);
}

TEST_F(CScriptProjection, RightIsRightAndUpIsUp) {
  const SProjected right = Project(1, 1, 0);
  EXPECT_NEAR(right.x, 161.0f, 1e-3f);
  EXPECT_EQ(right.y, 128.0f);
  const SProjected up = Project(0, 1, 1);
  EXPECT_EQ(up.x, 160.0f);
  EXPECT_NEAR(up.y, 127.0f, 1e-3f);
  EXPECT_NEAR(Project(0, 1, 0, 1.0f).y, 126.99f, 2e-2f);  // the bias raises points
}

TEST_F(CScriptProjection, TheCamerasSecondWordIsUpAndItsThirdIsAhead) {
  camera[1] = Fixed(10);
  EXPECT_GT(Project(0, 1, 0).y, 130.0f);
  camera[1] = 0;
  camera[2] = Fixed(10);
  EXPECT_EQ(Project(0, 5, 0).w, 0.0f);
  EXPECT_NE(Project(0, 12, 0).w, 0.0f);
}

// Every number of one point against the same steps written out once more.
TEST_F(CScriptProjection, ATurnedCameraFollowsItsFormulas) {
  const i32 words[12] = {Fixed(1.5), Fixed(-2.25), Fixed(3),   Fixed(4), Fixed(0.7), Fixed(-0.3),
                         99,         Fixed(1.1),   Fixed(140), 77,       Fixed(6),   Fixed(-9)};
  std::copy(std::begin(words), std::end(words), camera);
  const SProjected seen = Project(20, 30, -4, 0.5f);

  const f32 s = 1.0f / 65536.0f;
  const f32 k = 1.52e-05f;
  const f32 ca = std::cos(words[4] * s), sa = std::sin(words[4] * s);
  const f32 cb = std::cos(words[5] * s), sb = std::sin(words[5] * s);
  const f32 dist = words[3] * s, focal = words[7] * s, scale = words[8] * s;
  const f32 ex = words[0] * s - dist * sa * cb;
  const f32 ez = words[1] * s + dist * sb;
  const f32 ey = words[2] * s - dist * ca * cb;
  const f32 cx = words[10] + 10485760.0f, cy = words[11] + 8388608.0f;
  const f32 dx = Fixed(20) * k - ex, dy = Fixed(30) * k - ey, dz = Fixed(-4) * k + 0.5f - ez;
  const f32 fwd = dx * sa + dy * ca;
  const f32 depth = fwd * cb - dz * sb;
  const f32 w = (focal / depth) * 65536.0f;
  EXPECT_EQ(seen.x, ((dx * ca - dy * sa) * w * scale + cx) * s);
  EXPECT_EQ(seen.y, (cy - (fwd * sb + dz * cb) * w * scale) * s);
  EXPECT_EQ(seen.w, w * s);
}

TEST_F(CScriptProjection, RowsStandAStrideApart) {
  const i32 points[3][3] = {{0, Fixed(1), 0}, {0, Fixed(2), 0}, {0, Fixed(4), 0}};
  Put(kData, points);
  Put(kIn, camera);
  Put(kIn + 0x40, 0.0f);
  std::memset(memory.data() + kOut, 0x7F, 0x100);
  Call(kProject, {kOut, 5, kData, kIn, kIn + 0x40, 3});
  const f32 w1 = At<SProjected>(kOut).w;
  EXPECT_EQ(At<SProjected>(kOut + 20).w, w1 / 2);
  EXPECT_EQ(At<SProjected>(kOut + 40).w, w1 / 4);
  EXPECT_EQ(At<u32>(kOut + 12), 0x7F7F7F7Fu);
  EXPECT_EQ(At<u32>(kOut + 52), 0x7F7F7F7Fu);
  Call(kProject, {kData, 3, kData, kIn, kIn + 0x40, 3});  // over the points themselves
  EXPECT_EQ(At<SProjected>(kData + 24).w, w1 / 4);
}

TEST_F(CScriptProjection, NoPointsStoreNothing) {
  Put(kOut, u64{7});
  Call(kProject, {kOut, 3, kData, kIn, kIn + 0x40, 0});
  EXPECT_EQ(At<u64>(kOut), 7u);
}

}  // namespace
}  // namespace vx::test
