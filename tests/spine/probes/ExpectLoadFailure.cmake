# Runs PROBE and passes if it stopped before main with the factory's text for a duplicate.
execute_process(COMMAND ${PROBE} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(rc EQUAL 0 OR out MATCHES "main was reached")
  message(FATAL_ERROR "the program was loaded and ran: ${out}")
endif()
if(NOT err MATCHES "Tarn::Kito::Factory::ClassFactory::register No duplicate identifieres allowed")
  message(FATAL_ERROR "the load stopped without the factory's text: ${err}")
endif()
message("stopped before main: ${err}")
