# Installs the built package into a scratch prefix, then configures, builds and runs a small
# project that finds it with find_package(tnpackage CONFIG REQUIRED) and through pkg-config.
file(REMOVE_RECURSE ${TN_WORK_DIR})
set(prefix ${TN_WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${TN_BUILD_DIR} --prefix ${prefix}
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${TN_CONSUMER_SOURCE} -B ${TN_WORK_DIR}/build
                        -G ${TN_GENERATOR} -DCMAKE_PREFIX_PATH=${prefix}
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer configure failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${TN_WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "consumer build failed: ${rc}")
endif()
execute_process(COMMAND ${TN_WORK_DIR}/build/consumer RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message("${out}")
if(rc)
  message(FATAL_ERROR "consumer run failed: ${rc}")
endif()
if(NOT EXISTS ${prefix}/lib/pkgconfig/tnpackage.pc AND NOT EXISTS ${prefix}/lib64/pkgconfig/tnpackage.pc)
  message(FATAL_ERROR "pkg-config file not installed")
endif()
