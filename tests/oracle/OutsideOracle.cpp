#include "tests/oracle/OutsideOracle.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tests/oracle/GuestProgram.h"

namespace vx::oracle {

namespace {

constexpr const char* kEmulator = "qemu-mips64el";

// A file in memory that a child process inherits.
class CMemoryFile {
 public:
  explicit CMemoryFile(const char* name) : fd_(memfd_create(name, 0)) {}
  ~CMemoryFile() {
    if (fd_ >= 0) close(fd_);
  }
  CMemoryFile(const CMemoryFile&) = delete;
  CMemoryFile& operator=(const CMemoryFile&) = delete;

  int Fd() const { return fd_; }
  bool Write(std::span<const u8> bytes) {
    while (!bytes.empty()) {
      const ssize_t done = write(fd_, bytes.data(), bytes.size());
      if (done <= 0) return false;
      bytes = bytes.subspan(static_cast<size_t>(done));
    }
    return true;
  }
  std::vector<u8> ReadAll() const {
    struct stat status = {};
    if (fstat(fd_, &status) != 0) return {};
    std::vector<u8> bytes(static_cast<size_t>(status.st_size));
    size_t place = 0;
    while (place < bytes.size()) {
      const ssize_t done =
          pread(fd_, bytes.data() + place, bytes.size() - place, static_cast<off_t>(place));
      if (done <= 0) return {};
      place += static_cast<size_t>(done);
    }
    return bytes;
  }

 private:
  int fd_;
};

constexpr int kExecFailed = 127;

void ExecuteEmulator(const CMemoryFile& program, const CMemoryFile& output, const char* cpuModel) {
  dup2(output.Fd(), STDOUT_FILENO);
  // A program that dies by a signal, as some must, leaves no core behind and says nothing.
  const rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  dup2(memfd_create("errors", MFD_CLOEXEC), STDERR_FILENO);
  const std::string path = "/proc/self/fd/" + std::to_string(program.Fd());
  execlp(kEmulator, kEmulator, "-cpu", cpuModel, path.c_str(), nullptr);
  _exit(kExecFailed);
}

u64 ConditionBits(u64 controlWord) {
  return (controlWord >> 23 & 1) | (controlWord >> 25 & 0x7F) << 1;
}

}  // namespace

SOracleRun RunProgram(std::span<const u8> program, const char* cpuModel) {
  SOracleRun run;
  CMemoryFile file("program");
  CMemoryFile output("output");
  if (!file.Write(program)) return run;
  const pid_t child = fork();
  if (child == 0) ExecuteEmulator(file, output, cpuModel);
  if (child < 0) return run;
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) run.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  run.bStarted = run.exitCode != kExecFailed;
  run.output = output.ReadAll();
  return run;
}

std::vector<SStreamRecord> RunStreams(std::span<const SStream> streams, const char* cpuModel,
                                      std::string& error) {
  const std::vector<u8> program = BuildGuestProgram(streams, streams.front().bFullRegisters);
  const SOracleRun run = RunProgram(program, cpuModel);
  if (!run.bStarted) {
    error = std::string(kEmulator) + " could not be started; the package qemu-user has it";
    return {};
  }
  std::vector<SStreamRecord> records(streams.size() * kRecordsOfStream);
  if (run.exitCode != 0 || run.output.size() != records.size() * sizeof(SStreamRecord)) {
    error = "the guest program ended with code " + std::to_string(run.exitCode) + ", signal " +
            std::to_string(run.signal) + " and " + std::to_string(run.output.size()) +
            " bytes of output";
    return {};
  }
  std::memcpy(records.data(), run.output.data(), run.output.size());
  for (SStreamRecord& record : records) record.conditions = ConditionBits(record.conditions);
  return records;
}

}  // namespace vx::oracle
