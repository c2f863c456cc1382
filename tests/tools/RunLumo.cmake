# run_lumo(exit args...): runs the tool, fails unless it exits with exit, and leaves its output and
# errors in the caller's scope; expect_text(text where): fails unless text stands in where.
function(run_lumo expected_exit)
  execute_process(COMMAND ${LUMO} ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  if(NOT result EQUAL expected_exit)
    message(FATAL_ERROR "lumo ${ARGN}: expected exit code ${expected_exit}, got ${result}:\n${output}\n${errors}")
  endif()
  set(output "${output}" PARENT_SCOPE)
  set(errors "${errors}" PARENT_SCOPE)
endfunction()

function(expect_text text where)
  string(FIND "${where}" "${text}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "expected '${text}' in:\n${where}")
  endif()
endfunction()
