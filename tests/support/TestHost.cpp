#include "tests/support/TestHost.h"

#include <xxhash.h>
#include <zlib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace vx::test {

namespace {

CTestHost* g_host = nullptr;

void Inflate(void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32) {
  ++g_host->inflateCalls;
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return;
  Bytef nothing = 0;  // zlib wants a target address for an empty block too
  stream.next_in = static_cast<Bytef*>(const_cast<void*>(source));
  stream.avail_in = sourceBytes;
  stream.next_out = targetBytes == 0 ? &nothing : static_cast<Bytef*>(target);
  stream.avail_out = targetBytes;
  inflate(&stream, Z_FINISH);
  inflateEnd(&stream);
}

void DecompressTable(void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32, u32,
                     u32) {
  ++g_host->tableCalls;
  std::memcpy(target, source, std::min(targetBytes, sourceBytes));
}

void* AcquireFrameBuffer(u64 sequence, u32 width, u32 height, u32 bytesPerPixel,
                         bool bSpeculative) {
  ++g_host->frameRequests;
  g_host->lastFrame = {sequence, width, height, bytesPerPixel, bSpeculative};
  return g_host->bGivesPictures ? g_host->picture.data() : nullptr;
}

u64 HashData(const void* data, u64 bytes) {
  g_host->firstHash = {data, bytes, 0};
  return XXH3_64bits(data, bytes);
}
u64 HashDataMore(const void* data, u64 bytes, u64 previous) {
  g_host->furtherHash = {data, bytes, previous};
  return XXH3_64bits_withSeed(data, bytes, previous);
}

}  // namespace

struct SHostCalls {
  static void Log(i32 level, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    const std::lock_guard lock(g_host->logLock_);
    g_host->log_.push_back({level, text});
  }
};

CTestHost::CTestHost() : picture(kPicturePixels) {
  if (g_host != nullptr) throw std::logic_error("a second test host");
  g_host = this;
  api_.GetCachePath = [] { return g_host->cachePath.c_str(); };
  api_.Log = SHostCalls::Log;
  api_.Inflate = Inflate;
  api_.DecompressTable = DecompressTable;
  api_.HashData = HashData;
  api_.HashDataMore = HashDataMore;
  api_.GetClockMs = [] { return g_host->clockMs.load(); };
  api_.AcquireFrameBuffer = AcquireFrameBuffer;
  api_.IsConfigLocked = [] { return g_host->bConfigLocked; };
  api_.SpatialGetMode = [](u32, u32, u32) { return 0; };
  api_.SpatialGetBlockSize = []() -> u32 { return 1024; };
  api_.SpatialIsEnabled = [] { return false; };
  api_.SpatialGetListener = [](f32*, f32*, f32*, f32*) {};
  api_.SpatialCreateSource = []() -> void* { return nullptr; };
  api_.SpatialDestroySource = [](void*) {};
  api_.SpatialPlaceSource = [](void*, const f32*, f32, f32, i32) {};
  api_.SpatialRender = [](void*, void*, void*, const void*, u32) {};
  api_.InvokeDspHook = [](CQuillonMachineBase*, bool, u32, u32) { return 0; };
  api_.InvokeMipsHook = [](CQuillonMachineBase*, bool, u32, u32, u32) { return 0; };
}

CTestHost::~CTestHost() { g_host = nullptr; }

std::vector<SHostLogLine> CTestHost::LogLines() const {
  const std::lock_guard lock(logLock_);
  return log_;
}

}  // namespace vx::test
