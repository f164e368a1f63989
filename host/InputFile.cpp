#include "host/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

#include "host/HostError.h"
#include "host/Text.h"

namespace vx {

namespace {

[[noreturn]] void Fail(const std::string& path, const std::string& sentence) {
  throw CHostError(EExitCode::FileUnreadable, path + ": " + sentence);
}

[[noreturn]] void FailUnreadable(const std::string& path) {
  const int reason = errno;
  if (reason == ENOENT || reason == ENOTDIR) Fail(path, "there is no such file");
  Fail(path, std::string("cannot be read: ") + std::strerror(reason));
}

class CDescriptor {
 public:
  explicit CDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~CDescriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  CDescriptor(const CDescriptor&) = delete;
  CDescriptor& operator=(const CDescriptor&) = delete;
  int Get() const { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace

std::string ReadInputFile(const std::string& path, u64 maxBytes) {
  const CDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status {};
  if (file.Get() < 0 || fstat(file.Get(), &status) != 0) FailUnreadable(path);
  if (S_ISDIR(status.st_mode)) Fail(path, "is a folder, not a file");
  if (!S_ISREG(status.st_mode)) Fail(path, "is a device or pipe, not a file");
  const u64 bytes = static_cast<u64>(status.st_size);
  if (bytes > maxBytes) {
    Fail(path,
         Format("is too large: %llu bytes, and the most is %llu",
                static_cast<unsigned long long>(bytes), static_cast<unsigned long long>(maxBytes)));
  }
  std::string text(bytes, '\0');
  for (u64 done = 0; done < bytes;) {
    const ssize_t got = read(file.Get(), text.data() + done, bytes - done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) FailUnreadable(path);
    if (got == 0) Fail(path, "became shorter while it was read");
    done += static_cast<u64>(got);
  }
  return text;
}

bool PathExists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

}  // namespace vx
