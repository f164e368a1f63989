# The one place for what all targets of the project share: language level, warnings, exactness of
# floating point, sanitizers and the compiler cache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

option(VX_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
set(VX_SANITIZE "" CACHE STRING "Sanitizers for every target, for example address,undefined")

find_program(VX_CCACHE ccache)
if(VX_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${VX_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${VX_CCACHE})
endif()

add_library(vx_common INTERFACE)
target_include_directories(vx_common INTERFACE ${PROJECT_SOURCE_DIR})
# Timeline values are compared exactly, so no contraction of multiply and add. Guest memory is read
# at several widths, so no aliasing assumptions.
target_compile_options(vx_common INTERFACE -ffp-contract=off -fno-strict-aliasing)
target_compile_options(vx_common INTERFACE -Wall -Wextra -Wno-non-virtual-dtor)
if(VX_WARNINGS_AS_ERRORS)
  target_compile_options(vx_common INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 warns of overlaps in string concatenations that are none.
  target_compile_options(vx_common INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
  # The machine's large arrays come zeroed from the system and are not written by its constructor.
  target_compile_options(vx_common INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-flifetime-dse=1>)
endif()
if(VX_SANITIZE)
  # The host side reaches machine classes through their tables alone and has no type information.
  target_compile_options(vx_common INTERFACE -fsanitize=${VX_SANITIZE} -fno-sanitize=vptr
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vx_common INTERFACE -fsanitize=${VX_SANITIZE})
endif()

# vx_part(NAME SOURCES...): one folder of the component, as objects that the component and the
# white-box tests link. The folders know each other through the one machine object, so that there is
# no link order among them.
function(vx_part name)
  add_library(${name} OBJECT ${ARGN})
  target_link_libraries(${name} PUBLIC vx_common)
endfunction()

# The board without a library of native blocks, and with the empty one: all guest code replays.
set(VX_BOARD_PARTS vx_base vx_sound vx_mips3 vx_blocks vx_devices vx_machine vx_script
    vx_plugin)
set(VX_COMPONENT_PARTS ${VX_BOARD_PARTS} vx_empty_library)
