# adsp_boot_image(OUTPUT SOURCE file [LISTING file] [MAP file] [INCLUDE folders...]
#                 [DEFINE NAME=VALUE...] [DEPENDS files...])
# A build step that assembles a program of the sound processor into a boot image. All names but the
# source's are in the current build folder unless they are absolute. It runs again when any file that
# the source includes changes; DEPENDS names included files that the build makes itself.
function(adsp_boot_image output)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SOURCE;LISTING;MAP" "INCLUDE;DEFINE;DEPENDS")
  if(NOT arg_SOURCE OR arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "adsp_boot_image(${output}) takes SOURCE, and has no "
                        "\"${arg_UNPARSED_ARGUMENTS}\"")
  endif()
  cmake_path(ABSOLUTE_PATH output BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  cmake_path(ABSOLUTE_PATH arg_SOURCE BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  set(outputs ${output})
  set(options)
  foreach(kind LISTING MAP)
    if(arg_${kind})
      string(TOLOWER ${kind} option)
      cmake_path(ABSOLUTE_PATH arg_${kind} BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
      list(APPEND options --${option} ${arg_${kind}})
      list(APPEND outputs ${arg_${kind}})
    endif()
  endforeach()
  foreach(folder IN LISTS arg_INCLUDE)
    list(APPEND options -I ${folder})
  endforeach()
  foreach(definition IN LISTS arg_DEFINE)
    list(APPEND options -D ${definition})
  endforeach()
  add_custom_command(
    OUTPUT ${outputs}
    COMMAND adspasm ${arg_SOURCE} -o ${output} --depfile ${output}.d ${options}
    DEPENDS adspasm ${arg_SOURCE} ${arg_DEPENDS}
    DEPFILE ${output}.d
    VERBATIM)
endfunction()
