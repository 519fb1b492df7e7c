include(CheckCXXSourceCompiles)

find_package(nlohmann_json REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(yaml-cpp REQUIRED)
if(ZUNOL_BUILD_CTL)
  find_package(CLI11 REQUIRED)
endif()

# The append command starts once for every event, and loading shared libraries would take longer than
# all its own work. So it is linked statically wherever the archives are installed. Sanitizers need
# the shared C library.
find_library(ZUNOL_YAML_CPP_ARCHIVE libyaml-cpp.a)
mark_as_advanced(ZUNOL_YAML_CPP_ARCHIVE)
set(CMAKE_REQUIRED_LINK_OPTIONS -static)
check_cxx_source_compiles("#include <string>
int main(int argc, char**) { return std::string(argc, 'x').empty(); }" ZUNOL_CAN_LINK_STATICALLY)
unset(CMAKE_REQUIRED_LINK_OPTIONS)
if(ZUNOL_YAML_CPP_ARCHIVE AND ZUNOL_CAN_LINK_STATICALLY AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(zunol_static_default ON)
else()
  set(zunol_static_default OFF)
endif()
option(ZUNOL_STATIC_COMMAND "Link the append command statically" ${zunol_static_default})

# What src/config parses YAML with: the archive where the command is to be static.
add_library(zunol_yaml_cpp INTERFACE)
if(ZUNOL_STATIC_COMMAND)
  target_link_libraries(zunol_yaml_cpp INTERFACE ${ZUNOL_YAML_CPP_ARCHIVE})
else()
  target_link_libraries(zunol_yaml_cpp INTERFACE yaml-cpp)
endif()
