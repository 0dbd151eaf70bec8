# Installs the built library into a fresh prefix, then builds and runs the consumer program
# against it twice: as a CMake project, with Qt's versionless targets switched off, and with
# the compiler alone, flags from pkg-config.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DQT_MAJOR=... -DVERSION=...
#         -DLIBDIR=... -DCXX=... -DPKG_CONFIG=... -P run.cmake
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(result)
    message(FATAL_ERROR "${what} failed: ${result}")
  endif()
endfunction()

execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}"
                RESULT_VARIABLE result OUTPUT_QUIET)
if(result)
  message(FATAL_ERROR "install failed: ${result}")
endif()
foreach(header FrequencyRange.h IRGObject.h Record.h Logger.h RecordDebug.h ReportBaseExport.h
               KVT317XmlExport.h KVT317XmlVersion.h)
  if(NOT EXISTS "${prefix}/include/KVT317Xml/${header}")
    message(FATAL_ERROR "${header} is not installed flat into include/KVT317Xml")
  endif()
endforeach()

foreach(schema KVT317_Settings.xsd BearingSettings.xsd)
  if(NOT EXISTS "${prefix}/share/KVT317Xml/schema/${schema}")
    message(FATAL_ERROR "${schema} is not installed into share/KVT317Xml/schema")
  endif()
endforeach()

# The guides always; the API reference when it was built (the docs target).
foreach(page guide.md binary-format.md)
  if(NOT EXISTS "${prefix}/share/doc/KVT317Xml/${page}")
    message(FATAL_ERROR "${page} is not installed into share/doc/KVT317Xml")
  endif()
endforeach()
if(EXISTS "${BUILD_DIR}/docs/html/index.html"
   AND NOT EXISTS "${prefix}/share/doc/KVT317Xml/html/index.html")
  message(FATAL_ERROR "the API reference is not installed into share/doc/KVT317Xml/html")
endif()

run("configuring the consumer" "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${WORK_DIR}/build"
    "-DCMAKE_PREFIX_PATH=${prefix}" -DCMAKE_BUILD_TYPE=Release
    -DQT_NO_CREATE_VERSIONLESS_TARGETS=ON "-DEXPECTED_QT_MAJOR=${QT_MAJOR}"
    "-DEXPECTED_VERSION=${VERSION}")
run("building the consumer" "${CMAKE_COMMAND}" --build "${WORK_DIR}/build")
run("the consumer" "${WORK_DIR}/build/consumer")

# The same program through pkg-config.
set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
execute_process(COMMAND "${PKG_CONFIG}" --print-requires KVT317Xml
                OUTPUT_VARIABLE requires RESULT_VARIABLE result)
string(REPLACE "\n" ";" requires "${requires}")
list(REMOVE_ITEM requires "")
if(result OR NOT requires STREQUAL "ReportBase;Qt${QT_MAJOR}Core")
  message(FATAL_ERROR "KVT317Xml.pc requires '${requires}', expected ReportBase;Qt${QT_MAJOR}Core")
endif()
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs KVT317Xml
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "pkg-config --cflags --libs KVT317Xml failed: ${result}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND "${PKG_CONFIG}" --variable=libdir KVT317Xml
                OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
run("building the consumer with pkg-config" "${CXX}" -std=c++17 "${SOURCE_DIR}/main.cpp"
    -o "${WORK_DIR}/consumer-pkgconfig" "-DEXPECTED_QT_MAJOR=${QT_MAJOR}"
    "-DEXPECTED_VERSION=\"${VERSION}\"" ${flags} "-Wl,-rpath,${libdir}")
run("the consumer built with pkg-config" "${WORK_DIR}/consumer-pkgconfig")

# The item model: its CMake target, and its own pkg-config file.
run("the model consumer" "${WORK_DIR}/build/model_consumer")
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs KVT317XmlModel
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE result)
if(result)
  message(FATAL_ERROR "pkg-config --cflags --libs KVT317XmlModel failed: ${result}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
run("building the model consumer with pkg-config" "${CXX}" -std=c++17
    "${SOURCE_DIR}/model_consumer.cpp" -o "${WORK_DIR}/model-consumer-pkgconfig" ${flags}
    "-Wl,-rpath,${libdir}")
run("the model consumer built with pkg-config" "${WORK_DIR}/model-consumer-pkgconfig")
