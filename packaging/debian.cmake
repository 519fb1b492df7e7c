# The Debian packages: cpack -G DEB in the build directory.
set(packages zunol-monitoring libzunol-monitoring-dev)
if(ZUNOL_BUILD_POSTGRES_LEDGER)
  list(APPEND packages zunol-monitoring-postgres-ledger)
endif()
foreach(package IN LISTS packages)
  install(FILES packaging/debian/copyright
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${package} EXCLUDE_FROM_ALL)
  zunol_install_gzipped(packaging/debian/changelog changelog
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${package})
endforeach()
install(FILES packaging/debian/zunol-monitoring
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides ${runtime} EXCLUDE_FROM_ALL)

set(units)
foreach(job flush maintain metrics)
  list(APPEND units packaging/systemd/zunol-monitoring-${job}.service packaging/systemd/zunol-monitoring-${job}.timer)
endforeach()
install(FILES ${units} DESTINATION lib/systemd/system ${runtime} EXCLUDE_FROM_ALL)
foreach(kind sysusers tmpfiles)
  install(FILES packaging/systemd/zunol-monitoring.${kind} RENAME zunol-monitoring.conf
          DESTINATION lib/${kind}.d ${runtime} EXCLUDE_FROM_ALL)
endforeach()

if(ZUNOL_BUILD_POSTGRES_LEDGER)
  install(FILES packaging/systemd/zunol-monitoring-collect@.service
          DESTINATION lib/systemd/system COMPONENT zunol-monitoring-postgres-ledger EXCLUDE_FROM_ALL)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Zunol Monitoring <monitoring@zunol.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "core of the Zunol host monitoring agent")
set(CPACK_COMPONENTS_ALL ${packages})
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
set(CPACK_DEBIAN_ZUNOL-MONITORING_PACKAGE_SUGGESTS "python3")  # for check-backend
set(CPACK_DEBIAN_ZUNOL-MONITORING_PACKAGE_DEPENDS
  "systemd | systemd-standalone-sysusers, systemd | systemd-standalone-tmpfiles")
set(CPACK_DEBIAN_ZUNOL-MONITORING_PACKAGE_CONTROL_EXTRA
  "${PROJECT_SOURCE_DIR}/packaging/debian/postinst;${PROJECT_SOURCE_DIR}/packaging/debian/prerm;${PROJECT_SOURCE_DIR}/packaging/debian/postrm")
set(CPACK_DEBIAN_ZUNOL-MONITORING_PACKAGE_CONTROL_STRICT_PERMISSION ON)
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
# A package of its own, as nothing else needs libpq.
set(CPACK_DEBIAN_ZUNOL-MONITORING-POSTGRES-LEDGER_PACKAGE_NAME zunol-monitoring-postgres-ledger)
set(CPACK_DEBIAN_ZUNOL-MONITORING-POSTGRES-LEDGER_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ZUNOL-MONITORING-POSTGRES-LEDGER_PACKAGE_DEPENDS "zunol-monitoring")
set(scripts ${PROJECT_SOURCE_DIR}/packaging/debian/postgres-ledger)
set(CPACK_DEBIAN_ZUNOL-MONITORING-POSTGRES-LEDGER_PACKAGE_CONTROL_EXTRA
  "${scripts}/postinst;${scripts}/prerm;${scripts}/postrm")
set(CPACK_DEBIAN_ZUNOL-MONITORING-POSTGRES-LEDGER_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_ZUNOL-MONITORING-POSTGRES-LEDGER_DESCRIPTION
"The program postgres-ledger, which keeps the history of many hosts in
PostgreSQL: a backend for one event, a collector for directories of events,
and the proof that nothing in the history was changed.")
include(CPack)
