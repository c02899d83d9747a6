# SPDX-License-Identifier: Apache-2.0
# What every target of this project is compiled with. A target gets its warnings here and nowhere
# else; a single source that needs less says so beside its own name, with the reason.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

find_program(PELORIN_CCACHE ccache)
if(PELORIN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Paths below the source folder count as relative, so that a second clone finds what the first one
  # compiled.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}"
      CCACHE_NOHASHDIR=1 "${PELORIN_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER ${CMAKE_CXX_COMPILER_LAUNCHER})
endif()

# pelorin_target_defaults(TARGET): warnings as errors, the arithmetic rules, sanitizers, coverage.
function(pelorin_target_defaults target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    -Wold-style-cast -Wcast-align -Wundef -Werror
    # Products and sums keep their stated order: a fused multiply-add moves exact thresholds.
    -ffp-contract=off)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Unique symbols pin a shared library in memory; a viewer must be able to unload this one.
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
    # An exported function may be inlined where it is defined, as with clang: nobody replaces single
    # functions of this library from outside.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  endif()
  # Qt's own headers use its deprecated names; our code may not.
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_BYTEARRAY)
  if(PELORIN_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${PELORIN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
      # Instrumented code defeats this analysis of g++: it reports Boost.Graph's optional handles.
      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(${target} PRIVATE -fsanitize=${PELORIN_SANITIZE})
  endif()
  if(PELORIN_BUILD_FUZZERS)
    # A fuzzer sees its way through instrumented code only, and that is mostly in the libraries.
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
  if(PELORIN_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()

# A shared library that names a symbol nobody provides fails here, not in the viewer. Sanitizer
# run-times of clang live in the executable, so their symbols are open in a library by design.
function(pelorin_no_undefined target)
  if(NOT (PELORIN_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()
