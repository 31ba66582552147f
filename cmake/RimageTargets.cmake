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

# What is installed is hardened; tests/checks/hardening.py looks at the result. Library assertions catch an index that
# every other check has let through. Sanitizers find more, if nothing hides it from them.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize|--coverage")
  set(RIMAGE_HARDENING OFF)
endif()
add_library(rimage_hardening INTERFACE)
if(RIMAGE_HARDENING)
  target_compile_options(rimage_hardening INTERFACE -fstack-protector-strong)
  target_compile_definitions(rimage_hardening INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(rimage_hardening INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
  # The checked functions of the C library need optimisation.
  target_compile_options(rimage_hardening INTERFACE $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
endif()

# rimage_library(NAME SOURCES...): a shared library of the product with hidden symbols and a versioned soname.
function(rimage_library name)
  add_library(${name} SHARED ${ARGN})
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:rimage_settings> $<BUILD_INTERFACE:rimage_hardening>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  # GNU unique symbols, which the standard library's templates give, would keep a library in memory after dlclose.
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  # The check of the binary interface compares types, which the daily build would leave out.
  target_compile_options(${name} PRIVATE $<$<AND:$<CONFIG:RelWithDebInfo>,$<CXX_COMPILER_ID:GNU>>:-g>)
  string(TOUPPER ${name} upper)
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    DEFINE_SYMBOL ${upper}_BUILD)
endfunction()
