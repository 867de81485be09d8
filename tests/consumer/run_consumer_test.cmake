# Installs the built library into a scratch prefix and builds the consumer
# against it, once through the CMake package and once through pkg-config.
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install "${STATTREE_BUILD_DIR}" --prefix "${prefix}")
run(${CMAKE_COMMAND} -S "${CONSUMER_SOURCE_DIR}" -B "${WORK_DIR}/build"
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER})
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run("${WORK_DIR}/build/consumer")
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
run(${CXX_COMPILER} "${CONSUMER_SOURCE_DIR}/main.cc" ${flags} "-Wl,-rpath,${libdir}"
    -o "${WORK_DIR}/consumer_pc")
run("${WORK_DIR}/consumer_pc")
message(STATUS "pkg-config consumer: ${last_output}")
