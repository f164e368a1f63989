# Guest code: the compiler for the board, and the flags that keep it to the ops that the board has.
find_program(VX_GUEST_CC mips64el-linux-gnuabi64-gcc)
find_program(VX_GUEST_OBJCOPY mips64el-linux-gnuabi64-objcopy)
find_program(VX_GUEST_OBJDUMP mips64el-linux-gnuabi64-objdump)
if(NOT VX_GUEST_CC)
  message(FATAL_ERROR "mips64el-linux-gnuabi64-gcc is missing, which builds the guest program; "
                      "install the Debian package gcc-mips64el-linux-gnuabi64")
endif()
if(NOT VX_GUEST_OBJCOPY OR NOT VX_GUEST_OBJDUMP)
  message(FATAL_ERROR "mips64el-linux-gnuabi64-objcopy or -objdump is missing, which the guest "
                      "program needs; install the Debian package binutils-mips64el-linux-gnuabi64")
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)

# 32-bit pointers in 64-bit registers; nothing here lets the compiler use an op that the board lacks
# by itself, but check_ops.py has the last word. The board cannot store doubles, so that functions
# keep no floating point register for their callers.
set(vx_guest_float_flags -mhard-float -fno-math-errno -fno-trapping-math -ffinite-math-only
                      -ffp-contract=off)
foreach(register RANGE 20 31)
  list(APPEND vx_guest_float_flags "-fcall-used-$f${register}")
endforeach()
set(guest_flags
    -O2 -march=mips3 -mabi=n32 -EL -fno-pic -mno-abicalls -mno-shared -G0 ${vx_guest_float_flags}
    -mno-branch-likely -mno-check-zero-division -mno-llsc -ffreestanding -fno-builtin
    -fno-strict-aliasing -fwrapv -fno-tree-loop-distribute-patterns -fno-stack-protector
    -fno-asynchronous-unwind-tables -Wall -Wextra -I${PROJECT_SOURCE_DIR})
if(VX_WARNINGS_AS_ERRORS)
  list(APPEND guest_flags -Werror)
endif()
set(guest_link_flags
    -nostdlib -static -Wl,--build-id=none -Wl,-z,norelro -Wl,--no-warn-rwx-segments
    -Wl,-z,max-page-size=4096)
