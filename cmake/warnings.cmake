# The warnings of every target of this tree, linked PRIVATE. They become errors through
# CMAKE_COMPILE_WARNING_AS_ERROR, which the presets of CI set and a plain build does not.
add_library(zunol_warnings INTERFACE)
target_compile_options(zunol_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  # A record is given some of its fields, and keeps its defaults for the others.
  -Wno-missing-field-initializers
  # GCC 12 reports it falsely for text + std::string.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
