# Runs a pack and keeps the file of discovered code that it leaves:
#   cmake -DPROGRAM=vxrun -DCOMPONENT=FILE -DPACK=FILE -DOUTPUT=FILE -P DiscoverCode.cmake -- RUN...
# RUN are the options of vxrun that say what to play. The output is written if its content changes.
set(run)
set(bRun FALSE)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(i RANGE ${last})
  if(bRun)
    list(APPEND run ${CMAKE_ARGV${i}})
  elseif(CMAKE_ARGV${i} STREQUAL "--")
    set(bRun TRUE)
  endif()
endforeach()

set(folder ${OUTPUT}.run)
file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})
execute_process(
  COMMAND ${PROGRAM} ${PACK} --headless --component ${COMPONENT} --cache-dir ${folder}
          --set VX_PreserveCache=1 ${run}
  RESULT_VARIABLE result OUTPUT_VARIABLE said ERROR_VARIABLE said)
file(GLOB caches ${folder}/vxcache*.qilmcache)
list(LENGTH caches count)
if(NOT result EQUAL 0 OR NOT count EQUAL 1)
  message(FATAL_ERROR "${PACK} does not run to its end (${result}), so that its code is not "
                      "discovered:\n${said}")
endif()
configure_file(${caches} ${OUTPUT} COPYONLY)
file(REMOVE_RECURSE ${folder})
