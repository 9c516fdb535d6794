# The library installs like any other: CMake package, pkg-config file, headers.
include(CMakePackageConfigHelpers)
install(TARGETS qvimage EXPORT qvimage-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/qvimage DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
