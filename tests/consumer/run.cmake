# Installs the built library into a fresh prefix, then configures, builds and runs the
# consumer project against it.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DQT_MAJOR=... -P run.cmake
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")

execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}"
                RESULT_VARIABLE result OUTPUT_QUIET)
if(result)
  message(FATAL_ERROR "install failed: ${result}")
endif()
foreach(header FrequencyRange.h IRGObject.h Record.h Logger.h)
  if(NOT EXISTS "${prefix}/include/KVT317Xml/${header}")
    message(FATAL_ERROR "${header} is not installed flat into include/KVT317Xml")
  endif()
endforeach()

execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${WORK_DIR}/build"
                        "-DCMAKE_PREFIX_PATH=${prefix}" -DCMAKE_BUILD_TYPE=Release
                RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "configuring the consumer failed: ${result}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK_DIR}/build" RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "building the consumer failed: ${result}")
endif()
execute_process(COMMAND "${WORK_DIR}/build/consumer" RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "the consumer failed: ${result}")
endif()
