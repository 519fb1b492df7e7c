# What every target of this tree is built with, linked PRIVATE. Warnings become errors through
# CMAKE_COMPILE_WARNING_AS_ERROR, which the presets of CI set and a plain build does not.
add_library(zunol_internal INTERFACE)
target_include_directories(zunol_internal INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(zunol_internal INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  # A record is given some of its fields, and keeps its defaults for the others.
  -Wno-missing-field-initializers
  # GCC 12 reports the one falsely for text + std::string, and the other for files that compile together.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-subobject-linkage>
  # Collects its garbage later: a twentieth less time for some more memory.
  $<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1000000>)

# What a caller of the library gets: C++20 and the public headers.
add_library(zunol_headers INTERFACE)
target_compile_features(zunol_headers INTERFACE cxx_std_20)
target_include_directories(zunol_headers INTERFACE ${PROJECT_SOURCE_DIR}/include)

# What is installed is hardened, where the compiler has the means; in a host's tree the host decides.
# Fortified functions need optimisation, and the sanitizers check the same by themselves.
add_library(zunol_hardened INTERFACE)
option(ZUNOL_HARDENED "Harden what is installed" ${PROJECT_IS_TOP_LEVEL})
if(ZUNOL_HARDENED)
  include(CheckCXXCompilerFlag)
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
    string(MAKE_C_IDENTIFIER "ZUNOL_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      target_compile_options(zunol_hardened INTERFACE ${flag})
    endif()
  endforeach()
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize|_FORTIFY_SOURCE")  # a packager may ask for more
    target_compile_options(zunol_hardened INTERFACE
      $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
  endif()
  target_link_options(zunol_hardened INTERFACE -Wl,-z,relro -Wl,-z,now)
  # What a program never calls stays out of it, also where files compile together.
  target_compile_options(zunol_hardened INTERFACE -ffunction-sections -fdata-sections)
  target_link_options(zunol_hardened INTERFACE -Wl,--gc-sections)
endif()
