# Blend tool benchmark; pixman's OVER runs beside it when pixman is found.
add_executable(bench_blend ${CMAKE_CURRENT_LIST_DIR}/blend_bench.cpp)
target_link_libraries(bench_blend PRIVATE orvel_core benchmark::benchmark)
if(TARGET PkgConfig::PIXMAN)
  target_link_libraries(bench_blend PRIVATE PkgConfig::PIXMAN)
  target_compile_definitions(bench_blend PRIVATE ORVEL_HAVE_PIXMAN)
endif()
