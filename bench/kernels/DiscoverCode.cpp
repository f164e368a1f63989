// vx_kernel_code: runs every kernel on the board and writes the code that was discovered, as the
// block generator takes it.
#include <cstdio>
#include <exception>
#include <fstream>

#include "bench/kernels/BoardEngine.h"
#include "blocks/RecordCache.h"

int main(int argc, char** argv) {
  using namespace vx;
  if (argc != 2) {
    std::fprintf(stderr, "Usage: vx_kernel_code OUTPUT\n");
    return 2;
  }
  try {
    bench::CBoardEngine board(bench::EBoardWay::Replay);
    const std::vector<u8> bytes = PackRecordCache(board.Machine());
    std::ofstream file(argv[1], std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error(std::string(argv[1]) + ": cannot be written");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vx_kernel_code: %s\n", error.what());
    return 1;
  }
  return 0;
}
