set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

# Compile settings shared by all own targets, and the functions that declare them.

add_library(rimage_settings INTERFACE)
target_compile_features(rimage_settings INTERFACE cxx_std_20)
target_compile_options(rimage_settings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Werror
  # Every compiler and instruction set must give the same bytes.
  -ffp-contract=off)
target_compile_definitions(rimage_settings INTERFACE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII)

# rimage_library(NAME SOURCES...): a shared library of the product with hidden symbols and a versioned soname.
function(rimage_library name)
  add_library(${name} SHARED ${ARGN})
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:rimage_settings>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  # GNU unique symbols, which the standard library's templates give, would keep a library in memory after dlclose.
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  string(TOUPPER ${name} upper)
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    DEFINE_SYMBOL ${upper}_BUILD)
endfunction()
