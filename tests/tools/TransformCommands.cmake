# The voxel transforms as a user runs them on the built-in volume: a window, a lookup table read
# from a file, and conversions that fail or pass by the checked cast.
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

# The image below is the first file written there: on a fresh build tree the folder does not exist.
file(MAKE_DIRECTORY ${OUT})

# The sheet (about 1000) and the writing (about 400) pass; the air (0) becomes 7.
run_lumo(0 window builtin --min 300 --max 1100 --background 7 --png ${OUT}/window.png)
expect_text("builtin: 192 x 128 x 72 Tarn::uint16\nresult: 192 x 128 x 72 Tarn::uint16\nminimum 7, maximum 10" "${output}")
if(NOT EXISTS ${OUT}/window.png)
  message(FATAL_ERROR "window wrote no image")
endif()
run_lumo(2 window builtin --min 1.5 --max 3 --background 0)
expect_text("lumo: --min takes a value of the volume's voxel type\n" "${errors}")
run_lumo(2 window builtin --min 1 --max 3)
expect_text("lumo: --background is required\n" "${errors}")

# Keys the file does not name map to 0, so the mapped volume holds 0 and the two values only.
file(WRITE ${OUT}/table.txt "# grey value to density\n0 0\n400 1.25\n1000 2.5\n")
run_lumo(0 lut builtin --table ${OUT}/table.txt)
expect_text("result: 192 x 128 x 72 Tarn::float32\nminimum 0, maximum 2.5," "${output}")
run_lumo(2 lut builtin --table ${OUT}/table.txt --type uint8)
expect_text("table.txt line 3: the value takes a value of the output's voxel type\n" "${errors}")
file(WRITE ${OUT}/labels.txt "400 1\n1000 2\n")
run_lumo(0 lut builtin --table ${OUT}/labels.txt --type uint8)
expect_text("result: 192 x 128 x 72 Tarn::uint8\nminimum 0, maximum 2," "${output}")
file(WRITE ${OUT}/bad-table.txt "70000 1\n")
run_lumo(2 lut builtin --table ${OUT}/bad-table.txt)
expect_text("line 1: the key takes a value of the volume's voxel type\n" "${errors}")

# The sheet's values do not fit into Tarn::uint8: the checked cast stops the conversion.
run_lumo(1 convert builtin --type uint8)
if(NOT errors MATCHES "^lumo: Couldn't cast [0-9]+ \\(64 bit float\\) to 8 bit unsigned integer without loss of data!\n$")
  message(FATAL_ERROR "unexpected text on stderr:\n${errors}")
endif()
run_lumo(0 convert builtin --type uint8 --unchecked)
expect_text("result: 192 x 128 x 72 Tarn::uint8\n" "${output}")
run_lumo(0 convert builtin --type float32 --no-rounding)
expect_text("result: 192 x 128 x 72 Tarn::float32\nminimum 0, maximum 1031, mean 137.356," "${output}")
# No conversion into Tarn::int64 exists: the factory names the identifier.
run_lumo(1 convert builtin --type int64)
expect_text("Tarn::AncillaryKitoOperators::VoxelTypeConversion::Operator< Tarn::Kito::Volume< Tarn::float64 , Tarn::Kito::Allocator::SingleBlockAllocator >, Tarn::Kito::Volume< Tarn::int64 , Tarn::Kito::Allocator::SingleBlockAllocator > > is registered" "${errors}")
