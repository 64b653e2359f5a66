# Installs into a folder of its own, builds the consumer against it, runs it.
set(work "${BUILD_FOLDER}/package-test")
file(REMOVE_RECURSE "${work}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  message("${output}")
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed (${status}): ${ARGN}")
  endif()
endfunction()

run("${CMAKE_COMMAND}" --install "${BUILD_FOLDER}" --prefix "${work}/installed")
run("${CMAKE_COMMAND}" -S "${SOURCE_FOLDER}" -B "${work}/consumer" -G Ninja "-DCMAKE_PREFIX_PATH=${work}/installed")
run("${CMAKE_COMMAND}" --build "${work}/consumer")
run("${CMAKE_COMMAND}" -E env "XDG_DATA_HOME=${work}/data" "${work}/consumer/consumer")
