# Bad usage ends the program with exit code 2 and says what was wrong and where the help is.
execute_process(COMMAND ${LUMO} project-max builtin --direction RESULT_VARIABLE result ERROR_VARIABLE errors
                OUTPUT_QUIET)
if(NOT result EQUAL 2)
  message(FATAL_ERROR "expected exit code 2, got ${result}: ${errors}")
endif()
string(FIND "${errors}" "lumo: --direction: 1 required D missing\nRun 'lumo project-max --help' for more.\n" at)
if(NOT at EQUAL 0)
  message(FATAL_ERROR "unexpected text on stderr:\n${errors}")
endif()
execute_process(COMMAND ${LUMO} height-map builtin --type int9 RESULT_VARIABLE result ERROR_VARIABLE errors
                OUTPUT_QUIET)
string(FIND "${errors}" "lumo: unknown voxel type 'int9'\n" at)
if(NOT result EQUAL 2 OR NOT at EQUAL 0)
  message(FATAL_ERROR "expected exit code 2 and the unknown type, got ${result}:\n${errors}")
endif()
