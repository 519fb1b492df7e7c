include(CheckCXXSourceCompiles)

# A host's own targets come first.
if(NOT TARGET nlohmann_json::nlohmann_json)
  find_package(nlohmann_json 3.11 REQUIRED)  # whose names tell how it is configured
endif()
if(NOT TARGET SQLite::SQLite3)
  find_package(SQLite3 REQUIRED)
endif()
if(NOT TARGET yaml-cpp AND NOT TARGET yaml-cpp::yaml-cpp)
  find_package(yaml-cpp REQUIRED)
endif()
if(ZUNOL_BUILD_CTL OR ZUNOL_BUILD_POSTGRES_LEDGER)
  find_package(CLI11 REQUIRED)
endif()
if(ZUNOL_BUILD_POSTGRES_LEDGER)
  find_package(PostgreSQL REQUIRED)
endif()

# The append command starts once for every event, and loading shared libraries would take longer than
# all its own work. So it is linked statically wherever the archives are installed, at an address
# that changes with each start where the system can. Sanitizers need the shared C library.
set(zunol_static_default OFF)
if(ZUNOL_BUILD_PROGRAMS AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  find_library(ZUNOL_YAML_CPP_ARCHIVE libyaml-cpp.a)
  mark_as_advanced(ZUNOL_YAML_CPP_ARCHIVE)
  foreach(kind static-pie static)
    string(MAKE_C_IDENTIFIER "ZUNOL_LINKS_${kind}" links)
    set(CMAKE_REQUIRED_FLAGS -fPIE)
    set(CMAKE_REQUIRED_LINK_OPTIONS -${kind})
    check_cxx_source_compiles("#include <string>
int main(int argc, char**) { return std::string(argc, 'x').empty(); }" ${links})
    unset(CMAKE_REQUIRED_FLAGS)
    unset(CMAKE_REQUIRED_LINK_OPTIONS)
    if(${links} AND ZUNOL_YAML_CPP_ARCHIVE)
      set(zunol_static_default ON)
      set(zunol_static_link -${kind})
      break()
    endif()
  endforeach()
  if(zunol_static_link STREQUAL -static-pie)
    # Some 3,500 addresses to adjust at each start, in 1 KB instead of 84. Whether the C library can is
    # not known to the linker.
    set(CMAKE_REQUIRED_LINK_OPTIONS -Wl,-z,pack-relative-relocs)
    check_cxx_source_compiles("#include <features.h>
static_assert(__GLIBC_PREREQ(2, 36));
int main() {}" ZUNOL_PACKS_RELOCATIONS)
    unset(CMAKE_REQUIRED_LINK_OPTIONS)
    if(ZUNOL_PACKS_RELOCATIONS)
      list(APPEND zunol_static_link -Wl,-z,pack-relative-relocs)
    endif()
  endif()
endif()
option(ZUNOL_STATIC_COMMAND "Link the append command statically" ${zunol_static_default})

# What src/config parses YAML with: the host's library, or the archive for a program that asks for it.
set(zunol_yaml_cpp_target yaml-cpp)
if(TARGET yaml-cpp::yaml-cpp)
  set(zunol_yaml_cpp_target yaml-cpp::yaml-cpp)
endif()
add_library(zunol_yaml_cpp INTERFACE)
target_link_libraries(zunol_yaml_cpp INTERFACE
  $<IF:$<BOOL:$<TARGET_PROPERTY:ZUNOL_YAML_CPP_ARCHIVE>>,${ZUNOL_YAML_CPP_ARCHIVE},${zunol_yaml_cpp_target}>)

# Links the program as the append command is: what starts once for every event, and its measures.
function(zunol_link_statically program)
  if(ZUNOL_STATIC_COMMAND)
    set_target_properties(${program} PROPERTIES ZUNOL_YAML_CPP_ARCHIVE ON POSITION_INDEPENDENT_CODE ON)
    target_link_options(${program} PRIVATE ${zunol_static_link} -Wl,--gc-sections)
  endif()
endfunction()
