# Transform tool benchmark; OpenCV's cubic warp and pixman's bilinear OVER run beside it when
# they are found.
add_executable(bench_transform ${CMAKE_CURRENT_LIST_DIR}/transform_bench.cpp)
target_link_libraries(bench_transform PRIVATE orvel_compositing benchmark::benchmark)
if(OpenCV_FOUND)
  target_include_directories(bench_transform PRIVATE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(bench_transform PRIVATE opencv_core opencv_imgproc)
  target_compile_definitions(bench_transform PRIVATE ORVEL_HAVE_OPENCV)
endif()
if(TARGET PkgConfig::PIXMAN)
  target_link_libraries(bench_transform PRIVATE PkgConfig::PIXMAN)
  target_compile_definitions(bench_transform PRIVATE ORVEL_HAVE_PIXMAN)
endif()
