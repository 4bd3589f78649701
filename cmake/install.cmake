# What `cmake --install` puts where: the public headers, the engine as a
# shared library with a versioned SONAME and as a static one, the host layer
# (static, over the static engine), the qorcalc tool, the CMake package
# (find_package(QORCalc CONFIG)), qorcalc.pc and qorcalc-host.pc for
# pkg-config; and, when they are built, the SQLite extension in
# lib/qorcalc/sqlite and the Python package (python/CMakeLists.txt).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(QORCALC_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QORCalc)
set_target_properties(qorcalc_static PROPERTIES OUTPUT_NAME qorcalc)

install(TARGETS qorcalc qorcalc_static qorcalc_messages qorcalc_host EXPORT QORCalcTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/qorcalc DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET qorcalc_cli)
  install(TARGETS qorcalc_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
if(TARGET qorcalc_sqlite)
  install(TARGETS qorcalc_sqlite LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/qorcalc/sqlite)
endif()

install(EXPORT QORCalcTargets NAMESPACE QORCalc:: DESTINATION ${QORCALC_CMAKE_DIR})
configure_package_config_file(cmake/QORCalcConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/QORCalcConfig.cmake INSTALL_DESTINATION ${QORCALC_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/QORCalcConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QORCalcConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/QORCalcConfigVersion.cmake
        DESTINATION ${QORCALC_CMAKE_DIR})

# qorcalc.pc finds its prefix from its own place, so an installed tree can move.
file(RELATIVE_PATH QORCALC_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(pc qorcalc qorcalc-host)
  configure_file(cmake/${pc}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
install(FILES LICENSE CHANGELOG.md README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
