# Installs the library: its archive, its public headers, and the two ways to find it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(development COMPONENT libzunol-monitoring-dev)
set(zunol_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zunol_monitoring)

install(TARGETS zunol_monitoring EXPORT zunol_monitoring
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} ${development}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${development})
install(EXPORT zunol_monitoring NAMESPACE zunol:: FILE zunol_monitoring-targets.cmake
        DESTINATION ${zunol_cmake_dir} ${development})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zunol_monitoring-config.cmake.in
  ${PROJECT_BINARY_DIR}/packaging/zunol_monitoring-config.cmake INSTALL_DESTINATION ${zunol_cmake_dir})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/packaging/zunol_monitoring-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/packaging/zunol_monitoring-config.cmake
              ${PROJECT_BINARY_DIR}/packaging/zunol_monitoring-config-version.cmake
        DESTINATION ${zunol_cmake_dir} ${development})
file(RELATIVE_PATH ZUNOL_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(packaging/zunol-monitoring.pc.in ${PROJECT_BINARY_DIR}/packaging/zunol-monitoring.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/packaging/zunol-monitoring.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${development})
install(FILES docs/library.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzunol-monitoring-dev ${development})
install(FILES examples/agent_loop.cpp examples/host_agent.cpp
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzunol-monitoring-dev/examples ${development})
