# Installs liborvel.so, the public headers, a pkg-config file and a CMake package config.
include(CMakePackageConfigHelpers)

install(TARGETS orvel orvel_headers EXPORT OrvelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/orvel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT OrvelTargets NAMESPACE Orvel:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvel)
configure_package_config_file(cmake/OrvelConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/OrvelConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvel)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/OrvelConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/OrvelConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/OrvelConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvel)

# The pkg-config file finds its prefix from its own place, so `cmake --install --prefix` works.
file(RELATIVE_PATH ORVEL_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" ORVEL_PC_TO_PREFIX "${ORVEL_PC_TO_PREFIX}")
configure_file(cmake/orvel.pc.in ${CMAKE_CURRENT_BINARY_DIR}/orvel.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/orvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
