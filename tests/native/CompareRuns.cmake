# Runs the open cabinet over the recorded game with native blocks and without, and compares the logs
# of state and picture hashes frame by frame:
#   cmake -DPROGRAM=vxrun -DPACK=FILE -DMOVIE=FILE -DFOLDER=DIR -P CompareRuns.cmake
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
foreach(way native replay)
  set(option)
  if(way STREQUAL replay)
    set(option --no-native)
  endif()
  execute_process(
    COMMAND ${PROGRAM} ${PACK} --headless ${option} --input ${MOVIE} --hash-log ${FOLDER}/${way}.log
            --cache-dir ${FOLDER}/${way}
    RESULT_VARIABLE result OUTPUT_VARIABLE said ERROR_VARIABLE said)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${way} ends with ${result}:\n${said}")
  endif()
  file(STRINGS ${FOLDER}/${way}.log ${way})
  list(LENGTH ${way} lines)
  if(lines LESS 1000)
    message(FATAL_ERROR "${way} logged ${lines} lines alone:\n${said}")
  endif()
endforeach()
foreach(a b IN ZIP_LISTS native replay)
  if(NOT a STREQUAL b)
    message(FATAL_ERROR "The runs part here:\nnative ${a}\nreplay ${b}")
  endif()
endforeach()
file(REMOVE_RECURSE ${FOLDER})
