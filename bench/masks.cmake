# Masks and merges benchmark; OpenCV, when found, runs the box filter side by side.
add_executable(bench_masks ${CMAKE_CURRENT_LIST_DIR}/masks_bench.cpp)
target_link_libraries(bench_masks PRIVATE orvel_core benchmark::benchmark)
if(OpenCV_FOUND)
  target_include_directories(bench_masks PRIVATE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(bench_masks PRIVATE ${OpenCV_LIBS})
  target_compile_definitions(bench_masks PRIVATE ORVEL_HAVE_OPENCV)
endif()
