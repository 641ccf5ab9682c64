# Image primitives benchmark; OpenCV, when found, runs the same work side by side.
add_executable(bench_primitives ${CMAKE_CURRENT_LIST_DIR}/primitives_bench.cpp)
target_link_libraries(bench_primitives PRIVATE orvel_primitives benchmark::benchmark)
if(TARGET opencv_imgproc OR OpenCV_FOUND)
  target_include_directories(bench_primitives PRIVATE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(bench_primitives PRIVATE opencv_core opencv_imgproc)
  target_compile_definitions(bench_primitives PRIVATE ORVEL_HAVE_OPENCV)
endif()
