#include "tests/disk/FaultyFiles.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <mutex>

namespace vx::test {

namespace {

std::mutex g_lock;
const SFault* g_fault = nullptr;
SFault g_held;
u32 g_matching = 0;
u32 g_failed = 0;
std::array<u32, kFileOpCount> g_seen;

std::string NameOf(int descriptor) {
  char name[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t length = readlink(link.c_str(), name, sizeof(name));
  return length < 0 ? "" : std::string(name, static_cast<size_t>(length));
}

bool Fails(EFileOp op, const std::string& name) {
  const std::lock_guard lock(g_lock);
  if (g_fault == nullptr || name.find(g_fault->name) == std::string::npos) return false;
  ++g_seen[static_cast<u32>(op)];
  if (op != g_fault->op) return false;
  const u32 call = g_matching++;
  if (call < g_fault->first || call - g_fault->first >= g_fault->count) return false;
  ++g_failed;
  errno = EIO;
  return true;
}
bool Fails(EFileOp op, std::FILE* stream) { return Fails(op, NameOf(fileno(stream))); }

}  // namespace

const char* FileOpName(EFileOp op) {
  static constexpr const char* kNames[kFileOpCount] = {
      "open", "examine", "read", "seek", "write", "flush", "sync", "close", "rename", "remove"};
  return kNames[static_cast<u32>(op)];
}

CFaultyFiles::CFaultyFiles(const SFault& fault) {
  const std::lock_guard lock(g_lock);
  g_held = fault;
  g_fault = &g_held;
  g_matching = g_failed = 0;
  g_seen = {};
}

CFaultyFiles::~CFaultyFiles() {
  const std::lock_guard lock(g_lock);
  g_fault = nullptr;
}

u32 CFaultyFiles::Failed() const {
  const std::lock_guard lock(g_lock);
  return g_failed;
}

u32 CFaultyFiles::Seen(EFileOp op) {
  const std::lock_guard lock(g_lock);
  return g_seen[static_cast<u32>(op)];
}

extern "C" {

// The linker's names for a wrapped function and for the one behind it.
// NOLINTBEGIN(bugprone-reserved-identifier)
std::FILE* __real_fopen(const char* name, const char* mode);
int __real_fstat(int descriptor, struct stat* info);
size_t __real_fread(void* target, size_t size, size_t count, std::FILE* stream);
int __real_fseeko(std::FILE* stream, off_t offset, int whence);
size_t __real_fwrite(const void* source, size_t size, size_t count, std::FILE* stream);
int __real_fflush(std::FILE* stream);
int __real_fsync(int descriptor);
int __real_fclose(std::FILE* stream);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* name);
int __real_remove(const char* name);

std::FILE* __wrap_fopen(const char* name, const char* mode) {
  return Fails(EFileOp::Open, name) ? nullptr : __real_fopen(name, mode);
}
int __wrap_fstat(int descriptor, struct stat* info) {
  return Fails(EFileOp::Examine, NameOf(descriptor)) ? -1 : __real_fstat(descriptor, info);
}
size_t __wrap_fread(void* target, size_t size, size_t count, std::FILE* stream) {
  // Half of what was asked arrives, as when a disk goes bad in the middle.
  if (Fails(EFileOp::Read, stream)) return __real_fread(target, size, count / 2, stream);
  return __real_fread(target, size, count, stream);
}
int __wrap_fseeko(std::FILE* stream, off_t offset, int whence) {
  return Fails(EFileOp::Seek, stream) ? -1 : __real_fseeko(stream, offset, whence);
}
size_t __wrap_fwrite(const void* source, size_t size, size_t count, std::FILE* stream) {
  // Half of it fits, as on a full disk.
  if (Fails(EFileOp::Write, stream)) return __real_fwrite(source, size, count / 2, stream);
  return __real_fwrite(source, size, count, stream);
}
int __wrap_fflush(std::FILE* stream) {
  return stream != nullptr && Fails(EFileOp::Flush, stream) ? EOF : __real_fflush(stream);
}
int __wrap_fsync(int descriptor) {
  return Fails(EFileOp::Sync, NameOf(descriptor)) ? -1 : __real_fsync(descriptor);
}
int __wrap_fclose(std::FILE* stream) {
  const bool bFails = Fails(EFileOp::Close, stream);
  const int result = __real_fclose(stream);
  return bFails ? EOF : result;
}
int __wrap_rename(const char* from, const char* to) {
  return Fails(EFileOp::Rename, to) ? -1 : __real_rename(from, to);
}
int __wrap_unlink(const char* name) {
  return Fails(EFileOp::Remove, name) ? -1 : __real_unlink(name);
}
int __wrap_remove(const char* name) {
  return Fails(EFileOp::Remove, name) ? -1 : __real_remove(name);
}
// NOLINTEND(bugprone-reserved-identifier)
}

}  // namespace vx::test
