// A step of the build: native_code FILE writes the guest code of the tests' library.
#include <cstdio>
#include <exception>

#include "tests/native/Code.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  try {
    vx::test::WriteCode(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "native_code: %s\n", error.what());
    return 1;
  }
  return 0;
}
