# Colour match benchmark; OpenCV, when found, runs the usual Lab statistics transfer beside it.
add_executable(bench_colormatch ${CMAKE_CURRENT_LIST_DIR}/colormatch_bench.cpp)
target_link_libraries(bench_colormatch PRIVATE orvel_core benchmark::benchmark)
if(OpenCV_FOUND)
  target_include_directories(bench_colormatch SYSTEM PRIVATE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(bench_colormatch PRIVATE ${OpenCV_LIBS})
  target_compile_definitions(bench_colormatch PRIVATE ORVEL_HAVE_OPENCV)
endif()
