# The library installs like any other: headers, CMake package (qvimage-config.cmake.in), pkg-config file.
# Nothing installed holds the path of the folder it was installed to: the tree may be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qvimage)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS qvimage EXPORT qvimage-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET qvimage_static)
  install(TARGETS qvimage_static EXPORT qvimage-targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
install(DIRECTORY include/qvimage DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES LICENSE CHANGELOG.md docs/guide.md docs/formats.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT qvimage-targets NAMESPACE qvimage:: DESTINATION ${package_dir})
configure_package_config_file(cmake/qvimage-config.cmake.in ${PROJECT_BINARY_DIR}/qvimage-config.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qvimage-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qvimage-config.cmake ${PROJECT_BINARY_DIR}/qvimage-config-version.cmake
  DESTINATION ${package_dir})

# Folders as seen from the pkg-config file, which knows where it lies itself.
file(RELATIVE_PATH to_prefix "/p/${pkgconfig_dir}" "/p")
string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} OR IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
  set(pc_libdir ${CMAKE_INSTALL_FULL_LIBDIR})
  set(pc_includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
else()
  set(pc_prefix "\${pcfiledir}/${to_prefix}")
  set(pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
# A program that links the static library needs what the shared one brings along.
set(pc_static_libs "-lstdc++ -lm -pthread")
if(BUILD_SHARED_LIBS)
  set(pc_libs "")
  set(pc_libs_private "${pc_static_libs}")
else()
  set(pc_libs " ${pc_static_libs}")
  set(pc_libs_private "")
endif()
configure_file(cmake/qvimage.pc.in ${PROJECT_BINARY_DIR}/qvimage.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qvimage.pc DESTINATION ${pkgconfig_dir})

# The tool, once there is one; it finds the library beside itself.
if(TARGET qvimage_tool)
  file(RELATIVE_PATH to_libdir "/p/${CMAKE_INSTALL_BINDIR}" "/p/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(qvimage_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libdir}")
  install(TARGETS qvimage_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(TARGET qvimage_show)
    set_target_properties(qvimage_show PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libdir}")
    install(TARGETS qvimage_show RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
  install(FILES tools/qvimage.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
