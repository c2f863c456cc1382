# The commands of the label statistics, the count in a range and the median, run as a user runs
# them on the built-in volume, whose content is reproducible; and their bad usage.
function(run_lumo expected_result output_variable)
  execute_process(COMMAND ${LUMO} ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  if(NOT result EQUAL expected_result)
    message(FATAL_ERROR "lumo ${ARGN}: expected exit code ${expected_result}, got ${result}: ${output} ${errors}")
  endif()
  set(${output_variable} "${output}${errors}" PARENT_SCOPE)
endfunction()

function(expect_text text output)
  string(FIND "${output}" "${text}" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "expected '${text}' in: ${output}")
  endif()
endfunction()

# The labels of the built-in Tarn::uint16 volume are its values / 256: air 0, the writing 1, the
# sheet 3 and 4.
run_lumo(0 output label-statistics builtin --labels builtin)
expect_text("labels builtin: 192 x 128 x 72 Tarn::uint8" "${output}")
expect_text("4 labels" "${output}")
expect_text("label   0: minimum 0, maximum 0, mean 0.000" "${output}")
expect_text("label   1: minimum 368, maximum 431, mean 399.144" "${output}")
expect_text("label   3: minimum 968, maximum 1023" "${output}")
expect_text("label   4: minimum 1024, maximum 1031" "${output}")
# A region is put on both volumes.
run_lumo(0 output label-statistics builtin --labels builtin --roi 96,64,12,4,4,6)
expect_text("labels builtin: 4 x 4 x 6 Tarn::uint8" "${output}")
expect_text("3 labels" "${output}")

# The bounds are taken to Tarn::uint16: 1500.5 is 1500.
run_lumo(0 output count-in-range builtin --min 500 --max 1500.5)
expect_text("241440 of 1769472 voxels in [500, 1500.5]" "${output}")
run_lumo(0 output count-in-range builtin --min 1 --max 65535 --roi 96,64,8,4,4,16)
expect_text("128 of 256 voxels in [1, 65535]" "${output}")
run_lumo(0 output count-in-range builtin --min 10 --max 5)
expect_text("0 of 1769472 voxels" "${output}")

# Mostly air; inside the sheet its grey value; 128 of 256 voxels in air give the lower middle, 0.
run_lumo(0 output median builtin)
expect_text("median 0" "${output}")
run_lumo(0 output median builtin --roi 96,64,16,4,4,4)
expect_text("median 1003" "${output}")
run_lumo(0 output median builtin --roi 96,64,8,4,4,16)
expect_text("median 0" "${output}")

run_lumo(2 output label-statistics builtin)
expect_text("lumo: --labels is required" "${output}")
run_lumo(2 output count-in-range builtin --min 3)
expect_text("lumo: --max is required" "${output}")
run_lumo(2 output count-in-range builtin --min three --max 4)
expect_text("--min takes a number" "${output}")
run_lumo(2 output median builtin --labels builtin)
expect_text("The following arguments were not expected: builtin --labels" "${output}")
