# Installs the build tree into a scratch prefix, then configures, builds and runs a host project
# against the installed package with find_package(Lumo).
file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix RESULT_VARIABLE rc OUTPUT_QUIET)
if(rc)
  message(FATAL_ERROR "install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/host -G Ninja -DCMAKE_PREFIX_PATH=${WORK}/prefix
                        -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Release
                        "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${FLAGS}"
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configuring the host failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/host RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "building the host failed")
endif()
execute_process(COMMAND ${WORK}/host/package_host RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message("${out}")
if(rc)
  message(FATAL_ERROR "the host failed")
endif()
