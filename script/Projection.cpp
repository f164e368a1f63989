// Projects points of the guest's world onto its picture, with the arithmetic of the guest's own
// camera: f32 throughout, 16.16 fixed point outside. The camera's second and third words change
// places against those of a point: up is the camera's second and a point's third.
#include <cmath>

#include "machine/VXMachine.h"
#include "script/ScriptActions.h"

namespace vx::script {

namespace {

struct SCameraWords {
  i32 position[3];
  i32 distance;  // behind the pivot
  i32 yaw, pitch;
  i32 unused6;
  i32 focalLength;
  i32 scale;
  i32 unused9;
  i32 centre[2];
};
static_assert(sizeof(SCameraWords) == 48);

struct SPoint {
  i32 p[3];
};
struct SRow {
  f32 x, y, w;
};

constexpr f32 kFixed = 1.5258789e-05f;    // 1 / 65536
constexpr f32 kPointScale = 1.52e-05f;    // of points: a constant of its own
constexpr f32 kNearest = 0.05f;           // anything nearer is not on the picture
constexpr f32 kHalfWidth = 10485760.0f;   // 160 pixels in 16.16
constexpr f32 kHalfHeightA = 8388608.0f;  // 128 pixels, by register layout
constexpr f32 kHalfHeightB = 7864320.0f;  // 120 pixels

f32 Scaled(i32 value, f32 scale) { return static_cast<f32>(value) * scale; }

class CProjection {
 public:
  CProjection(const SCameraWords& c, f32 bias, bool bLayoutB)
      : ca_(std::cos(Scaled(c.yaw, kFixed))),
        sa_(std::sin(Scaled(c.yaw, kFixed))),
        cb_(std::cos(Scaled(c.pitch, kFixed))),
        sb_(std::sin(Scaled(c.pitch, kFixed))),
        focal_(Scaled(c.focalLength, kFixed)),
        scale_(Scaled(c.scale, kFixed)),
        bias_(bias) {
    const f32 distance = Scaled(c.distance, kFixed);
    ex_ = Scaled(c.position[0], kFixed) - distance * sa_ * cb_;
    ez_ = Scaled(c.position[1], kFixed) + distance * sb_;
    ey_ = Scaled(c.position[2], kFixed) - distance * ca_ * cb_;
    cx_ = static_cast<f32>(c.centre[0]) + kHalfWidth;
    cy_ = static_cast<f32>(c.centre[1]) + (bLayoutB ? kHalfHeightB : kHalfHeightA);
  }

  SRow Project(const SPoint& point) const {
    const f32 dx = Scaled(point.p[0], kPointScale) - ex_;
    const f32 dy = Scaled(point.p[1], kPointScale) - ey_;
    const f32 dz = Scaled(point.p[2], kPointScale) + bias_ - ez_;
    const f32 forward = dx * sa_ + dy * ca_;
    const f32 depth = forward * cb_ - dz * sb_;
    if (depth < kNearest) return {0.0f, 0.0f, 0.0f};
    const f32 w = (focal_ / depth) * 65536.0f;
    return {((dx * ca_ - dy * sa_) * w * scale_ + cx_) * kFixed,
            (cy_ - (forward * sb_ + dz * cb_) * w * scale_) * kFixed, w * kFixed};
  }

 private:
  f32 ca_, sa_, cb_, sb_;  // cosine and sine of yaw and pitch
  f32 focal_, scale_, bias_;
  f32 ex_, ey_, ez_;  // the eye
  f32 cx_, cy_;       // the picture's centre
};

}  // namespace

// Ends early where points or rows leave the script's memory.
void Project(const SScriptCall& call) {
  const u64 strideBytes = u64{call.words[1]} * sizeof(f32);
  const CProjection projection(call.In<SCameraWords>(3), call.In<f32>(4), call.m->bIoLayoutB != 0);
  u64 target = call.words[0];
  u64 source = call.words[2];
  for (u32 left = call.words[5]; left != 0; --left) {
    if (call.memory.Span(source, sizeof(SPoint)) == nullptr) return;
    if (call.memory.Span(target, sizeof(SRow)) == nullptr) return;
    call.memory.Store(target, projection.Project(call.memory.Load<SPoint>(source)));
    source += sizeof(SPoint);
    target += strideBytes;
  }
}

}  // namespace vx::script
