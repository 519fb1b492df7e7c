# Installs what is built of the programs, their manual pages and what goes with them.
include(GNUInstallDirs)

set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/zunol-monitoring)
set(runtime COMPONENT zunol-monitoring)

install(TARGETS zunol-vorn-append-event DESTINATION ${CMAKE_INSTALL_BINDIR} ${runtime})
set(pages zunol-vorn-append-event.1 zunol-monitoring-check-backend.1 zunol-monitoring-config.5
  zunol-monitoring-event.5)
if(ZUNOL_BUILD_CTL)
  install(TARGETS zunol-monitoring-ctl DESTINATION ${CMAKE_INSTALL_BINDIR} ${runtime})
  install(FILES packaging/bash-completion/zunol-monitoring-ctl
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${runtime})
  list(APPEND pages zunol-monitoring-ctl.1)
endif()
install(PROGRAMS backends/sqlite-ledger backends/check-backend
        DESTINATION lib/zunol-monitoring/backends ${runtime})
install(FILES examples/config.yaml
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples ${runtime})
install(FILES docs/configuration.md docs/operations.md docs/fleet.md DESTINATION ${CMAKE_INSTALL_DOCDIR} ${runtime})

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
foreach(page IN LISTS pages)
  string(REGEX MATCH "[0-9]$" section ${page})
  zunol_install_gzipped(packaging/man/${page} ${page}
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT zunol-monitoring)
endforeach()
if(ZUNOL_BUILD_POSTGRES_LEDGER)
  install(TARGETS postgres-ledger DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT zunol-monitoring-postgres-ledger)
  zunol_install_gzipped(packaging/man/postgres-ledger.1 postgres-ledger.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT zunol-monitoring-postgres-ledger)
endif()
