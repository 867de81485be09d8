# Installs the built library into a scratch prefix and builds the consumer
# against it, once through the CMake package and once through pkg-config.
# For a Windows build (TOOLCHAIN_FILE set) the consumer is cross-built, gets
# the installed DLLs copied beside it as a Windows host would, and runs
# through EMULATOR (a list joined with "|").
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")
string(REPLACE "|" ";" emulator "${EMULATOR}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install "${STATTREE_BUILD_DIR}" --prefix "${prefix}")
set(consumer_flags -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER})
if(TOOLCHAIN_FILE)
  # The installed prefix lies outside the tool chain's own root.
  list(APPEND consumer_flags -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}
    -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
  if(NOT EXISTS "${prefix}/bin/stattree.dll")
    message(FATAL_ERROR "stattree.dll was not installed into ${prefix}/bin")
  endif()
endif()
run(${CMAKE_COMMAND} -S "${CONSUMER_SOURCE_DIR}" -B "${WORK_DIR}/build" ${consumer_flags})
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
file(GLOB dlls "${prefix}/bin/*.dll")
if(TOOLCHAIN_FILE)
  file(COPY ${dlls} DESTINATION "${WORK_DIR}/build")
endif()
run(${emulator} "${WORK_DIR}/build/consumer${EXECUTABLE_SUFFIX}")
message(STATUS "find_package consumer: ${last_output}")

file(GLOB pc_dirs "${prefix}/lib*/pkgconfig" "${prefix}/lib/*/pkgconfig")
list(GET pc_dirs 0 pc_dir)
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
execute_process(COMMAND pkg-config --cflags --libs stattree
  RESULT_VARIABLE rc OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know stattree")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
get_filename_component(libdir "${pc_dir}" DIRECTORY)
set(pc_dir_out "${WORK_DIR}/pc")
file(MAKE_DIRECTORY "${pc_dir_out}")
if(TOOLCHAIN_FILE)
  file(COPY ${dlls} DESTINATION "${pc_dir_out}")
else()
  list(APPEND flags "-Wl,-rpath,${libdir}")
endif()
run(${CXX_COMPILER} "${CONSUMER_SOURCE_DIR}/main.cc" ${flags}
    -o "${pc_dir_out}/consumer${EXECUTABLE_SUFFIX}")
run(${emulator} "${pc_dir_out}/consumer${EXECUTABLE_SUFFIX}")
message(STATUS "pkg-config consumer: ${last_output}")
