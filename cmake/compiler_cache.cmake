# Compiles through a compiler cache where one is installed. With precompiled headers it needs to be
# told that their macros and time stamps do not count.
find_program(ZUNOL_CCACHE ccache)
mark_as_advanced(ZUNOL_CCACHE)
if(PROJECT_IS_TOP_LEVEL AND ZUNOL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${ZUNOL_CCACHE})
endif()
