# concat and duplicate-slice as a user runs them on the built-in volume: the extents of the new
# volumes, the slice written as PNG, bad usage, and the library's own failures.
include(${CMAKE_CURRENT_LIST_DIR}/RunLumo.cmake)

file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})

# The volume joined with itself along tert: slice 72 of the result is slice 0 of the second copy,
# which lies in the air above the sheet.
run_lumo(0 concat builtin builtin --face 5 --slice 72 --png ${OUT}/joined.png)
expect_text("builtin: 192 x 128 x 72 Tarn::uint16\nbuiltin: 192 x 128 x 72 Tarn::uint16\n" "${output}")
expect_text("joined: 192 x 128 x 144 Tarn::uint16\nslice 72 of it: result: 192 x 128 x 1 Tarn::uint16\n" "${output}")
if(NOT EXISTS ${OUT}/joined.png)
  message(FATAL_ERROR "concat wrote no image")
endif()
run_lumo(0 concat builtin builtin --face 1 --roi 0,0,0,10,20,30)
expect_text("builtin: 10 x 20 x 30 Tarn::uint16\nbuiltin: 10 x 20 x 30 Tarn::uint16\njoined: 20 x 20 x 30 Tarn::uint16\n" "${output}")
run_lumo(1 concat builtin builtin --face 6)
expect_text("lumo: Tarn::Lumo::ConcatVolumes::Operator::apply: invalid value for face.\n" "${errors}")
run_lumo(2 concat builtin builtin)
expect_text("lumo: --face is required\n" "${errors}")

# An XZ plane repeated: the result is 192 x N x 72, each of its tert slices one row of the plane N times.
run_lumo(0 duplicate-slice builtin --plane XZ --index 64 --count 5 --slice 30 --png ${OUT}/repeated.png)
expect_text("repeated: 192 x 5 x 72 Tarn::uint16\nslice 30 of it: result: 192 x 5 x 1 Tarn::uint16\n" "${output}")
if(NOT EXISTS ${OUT}/repeated.png)
  message(FATAL_ERROR "duplicate-slice wrote no image")
endif()
run_lumo(0 duplicate-slice builtin --plane YZ --index 191 --count 3)
expect_text("repeated: 3 x 128 x 72 Tarn::uint16\n" "${output}")
# The index equal to the extent fails inside the copies, and the library says so in one text.
run_lumo(1 duplicate-slice builtin --plane XY --index 72 --count 2)
expect_text("lumo: Tarn::Lumo::DuplicateSlices::Operator< Tarn::Kito::Volume< Tarn::uint16 , Tarn::Kito::Allocator::SingleBlockAllocator > , Tarn::Kito::Volume< Tarn::uint16 , Tarn::Kito::Allocator::SingleBlockAllocator > >::DuplicateSlices Copy Slices Failed 0!\n" "${errors}")
run_lumo(2 duplicate-slice builtin --plane xy --index 1 --count 1)
expect_text("lumo: --plane: xy not in {XY,XZ,YZ}\n" "${errors}")
run_lumo(2 duplicate-slice builtin --plane XY --count 1)
expect_text("lumo: --index is required\n" "${errors}")
run_lumo(2 duplicate-slice builtin --plane XY --index 0 --count 2 --slice 2)
expect_text("lumo: --slice lies outside the new volume\n" "${errors}")
