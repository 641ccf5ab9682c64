# Gradient benchmark; Cairo, when found, fills the same linear and radial gradients beside it.
pkg_check_modules(CAIRO QUIET IMPORTED_TARGET cairo)
add_executable(bench_gradient ${CMAKE_CURRENT_LIST_DIR}/gradient_bench.cpp)
target_link_libraries(bench_gradient PRIVATE orvel_gradient benchmark::benchmark)
if(CAIRO_FOUND)
  target_link_libraries(bench_gradient PRIVATE PkgConfig::CAIRO)
  target_compile_definitions(bench_gradient PRIVATE ORVEL_HAVE_CAIRO)
endif()
