# What an installation has, and where. Two components, as distributions split them: the programs, and
# what a program that links the library needs.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/zunol-monitoring)
set(runtime COMPONENT zunol-monitoring)
set(development COMPONENT libzunol-monitoring-dev)
set(zunol_header_dir ${CMAKE_INSTALL_INCLUDEDIR}/zunol_monitoring)
set(zunol_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zunol_monitoring)

# The programs, their manual pages and what goes with them.
install(TARGETS zunol-vorn-append-event zunol-monitoring-ctl
        DESTINATION ${CMAKE_INSTALL_BINDIR} ${runtime})
install(PROGRAMS backends/sqlite-ledger
        DESTINATION lib/zunol-monitoring/backends ${runtime})
install(FILES packaging/bash-completion/zunol-monitoring-ctl
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${runtime})
install(FILES examples/config.yaml
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples ${runtime})
install(FILES docs/configuration.md DESTINATION ${CMAKE_INSTALL_DOCDIR} ${runtime})

find_program(ZUNOL_GZIP gzip REQUIRED)
mark_as_advanced(ZUNOL_GZIP)
function(zunol_install_gzipped source name)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "DESTINATION;COMPONENT" "")
  string(MAKE_C_IDENTIFIER "${arg_DESTINATION}_${name}" directory)
  set(compressed ${PROJECT_BINARY_DIR}/packaging/${directory}/${name}.gz)
  cmake_path(GET compressed PARENT_PATH parent)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${parent}
    COMMAND ${ZUNOL_GZIP} -9nc ${PROJECT_SOURCE_DIR}/${source} > ${compressed}
    DEPENDS ${PROJECT_SOURCE_DIR}/${source} VERBATIM)
  add_custom_target(gzip_${directory} ALL DEPENDS ${compressed})
  install(FILES ${compressed} DESTINATION ${arg_DESTINATION} COMPONENT ${arg_COMPONENT})
endfunction()
foreach(page zunol-vorn-append-event.1 zunol-monitoring-ctl.1 zunol-monitoring-config.5
             zunol-monitoring-event.5)
  string(REGEX MATCH "[0-9]$" section ${page})
  zunol_install_gzipped(packaging/man/${page} ${page}
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT zunol-monitoring)
endforeach()

# The library: one archive of all the folders, their public headers, and the two ways to find it.
set(zunol_folders zunol_base zunol_config zunol_events zunol_store zunol_history)
list(TRANSFORM zunol_folders REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE zunol_objects)
add_library(zunol_monitoring_archive STATIC ${zunol_objects})
set_target_properties(zunol_monitoring_archive PROPERTIES
  OUTPUT_NAME zunol_monitoring EXPORT_NAME monitoring LINKER_LANGUAGE CXX)
target_compile_features(zunol_monitoring_archive INTERFACE cxx_std_20)
target_include_directories(zunol_monitoring_archive INTERFACE $<INSTALL_INTERFACE:${zunol_header_dir}>)
target_link_libraries(zunol_monitoring_archive
  PUBLIC nlohmann_json::nlohmann_json PRIVATE SQLite::SQLite3 yaml-cpp)
install(TARGETS zunol_monitoring_archive EXPORT zunol_monitoring
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} ${development})
foreach(folder zunol_monitoring ${zunol_folders})
  get_target_property(headers ${folder} HEADER_SET)
  get_target_property(source_dir ${folder} SOURCE_DIR)
  foreach(header IN LISTS headers)
    cmake_path(ABSOLUTE_PATH header BASE_DIRECTORY ${source_dir})
    cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/src OUTPUT_VARIABLE relative)
    cmake_path(GET relative PARENT_PATH directory)
    install(FILES ${header} DESTINATION ${zunol_header_dir}/${directory} ${development})
  endforeach()
endforeach()

install(EXPORT zunol_monitoring NAMESPACE zunol:: FILE zunol_monitoring-targets.cmake
        DESTINATION ${zunol_cmake_dir} ${development})
configure_package_config_file(packaging/zunol_monitoring-config.cmake.in
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

# The Debian packages: cpack -G DEB in the build directory.
foreach(package zunol-monitoring libzunol-monitoring-dev)
  install(FILES packaging/debian/copyright
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${package} EXCLUDE_FROM_ALL)
  zunol_install_gzipped(packaging/debian/changelog changelog
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${package})
endforeach()
install(FILES packaging/debian/zunol-monitoring
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides ${runtime} EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Zunol Monitoring <monitoring@zunol.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "core of the Zunol host monitoring agent")
set(CPACK_COMPONENTS_ALL zunol-monitoring libzunol-monitoring-dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_ZUNOL-MONITORING_PACKAGE_NAME zunol-monitoring)
set(CPACK_DEBIAN_ZUNOL-MONITORING_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ZUNOL-MONITORING_PACKAGE_RECOMMENDS "sqlite3")
set(CPACK_COMPONENT_ZUNOL-MONITORING_DESCRIPTION
"The command zunol-vorn-append-event, which appends one event of the agent to
an append-only history, once, through a configured backend; the operator's
tool zunol-monitoring-ctl for the configuration, the queue of events and the
local store; and a backend that keeps the history in an SQLite database.")
set(CPACK_DEBIAN_LIBZUNOL-MONITORING-DEV_PACKAGE_NAME libzunol-monitoring-dev)
set(CPACK_DEBIAN_LIBZUNOL-MONITORING-DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBZUNOL-MONITORING-DEV_PACKAGE_DEPENDS
  "nlohmann-json3-dev, libsqlite3-dev, libyaml-cpp-dev")
set(CPACK_COMPONENT_LIBZUNOL-MONITORING-DEV_DESCRIPTION
"For programs that host the core, such as the agent daemon: event envelope,
configuration, durable outbox and local store as a static C++20 library with
its headers, found with CMake (zunol_monitoring) or pkg-config
(zunol-monitoring).")
include(CPack)
