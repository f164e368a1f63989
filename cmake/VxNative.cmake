# Libraries of native blocks: from files of discovered guest code to objects that a component or a
# program links, in place of vx_empty_library.

# The host's compiler folds what the functions leave constant. A block is entered by one call and
# left by one return: nothing unwinds through it. Under sanitizers blocks are checked like all else,
# with less optimisation, since they compile for minutes otherwise.
set(VX_NATIVE_FLAGS -fno-exceptions -fno-rtti -fno-plt -fno-stack-protector -fcf-protection=none
    -mno-red-zone -Wno-unused-variable -Wno-unused-but-set-variable)
if(VX_SANITIZE)
  list(APPEND VX_NATIVE_FLAGS -O1)
else()
  list(APPEND VX_NATIVE_FLAGS -O2 -fomit-frame-pointer -fno-asynchronous-unwind-tables
       -falign-functions=16)
endif()

# vx_native_library(NAME CACHES FILE[=IMAGE]... [UNITS N] [OPTIONS OPTION...] [DEPENDS TARGET...]):
# an object library with the native blocks of the code in these files. A file that a rule of the build
# makes counts as a dependency. UNITS is the number of sources to spread them over, 8 by default; a
# few hundred functions a source compile in seconds. OPTIONS go to blockgen.
function(vx_native_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "UNITS" "CACHES;OPTIONS;DEPENDS")
  if(NOT arg_UNITS)
    set(arg_UNITS 8)
  endif()
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${name})
  set(sources ${folder}/table.cpp)
  math(EXPR last "${arg_UNITS} - 1")
  foreach(unit RANGE ${last})
    list(APPEND sources ${folder}/unit_${unit}.cpp)
  endforeach()
  string(REPLACE "=" ";" inputs "${arg_CACHES}")
  add_custom_command(
    OUTPUT ${sources} ${folder}/table.bin
    BYPRODUCTS ${folder}/report.txt
    COMMAND blockgen ${arg_CACHES} -o ${folder} --units ${arg_UNITS} ${arg_OPTIONS}
    DEPENDS blockgen ${inputs} ${arg_DEPENDS}
    COMMENT "Generating the native blocks of ${name}"
    VERBATIM)
  vx_part(${name} ${sources})
  target_compile_options(${name} PRIVATE ${VX_NATIVE_FLAGS})
  set_source_files_properties(${folder}/table.cpp PROPERTIES
    OBJECT_DEPENDS ${folder}/table.bin
    COMPILE_DEFINITIONS "VX_BLOCK_TABLE_IMAGE=\"${folder}/table.bin\"")
endfunction()

# vx_component(NAME LIBRARY): the component NAME.so with these native blocks. It links nothing but
# the C++ runtime, and exports two functions.
function(vx_component name library)
  set(exports ${PROJECT_SOURCE_DIR}/plugin/exports.map)
  add_library(${name} MODULE ${exports})
  set_target_properties(${name} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX LINK_DEPENDS ${exports})
  target_link_libraries(${name} PRIVATE ${VX_BOARD_PARTS} ${library})
  target_link_options(${name} PRIVATE -Wl,--version-script=${exports})
  if(NOT VX_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
