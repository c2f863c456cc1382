# A failure reported by the library ends the program with exit code 1 and its text on stderr: the
# height map has no instance for a Tarn::int8 output.
execute_process(COMMAND ${LUMO} height-map builtin --type int8 RESULT_VARIABLE result ERROR_VARIABLE errors
                OUTPUT_QUIET)
if(NOT result EQUAL 1)
  message(FATAL_ERROR "expected exit code 1, got ${result}: ${errors}")
endif()
string(FIND "${errors}" "Tarn::Lumo::HeightMap::Operator< Tarn::Kito::Volume< Tarn::uint16 , Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::int8 , Tarn::Kito::Allocator::SingleBlockAllocator > >" found)
if(found EQUAL -1)
  message(FATAL_ERROR "the failure does not name the identifier: ${errors}")
endif()
