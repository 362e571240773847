# Flags every target of the project is built with. lumivane_target(T) applies them.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()
# What Debian builds with: -O3 costs build time and gains the hand-vectorised kernels nothing.
string(REPLACE "-O3" "-O2" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
string(REPLACE "-O3" "-O2" CMAKE_C_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")

find_program(LUMIVANE_CCACHE ccache)
if(LUMIVANE_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${LUMIVANE_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${LUMIVANE_CCACHE})
endif()

file(RELATIVE_PATH LUMIVANE_SOURCE_FROM_BUILD ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
string(REGEX REPLACE "/$" "" LUMIVANE_SOURCE_FROM_BUILD "${LUMIVANE_SOURCE_FROM_BUILD}")
add_library(lumivane_flags INTERFACE)
target_include_directories(lumivane_flags INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)
target_compile_options(lumivane_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wcast-align -Wformat=2
  # Four-character codes are the field's notation for formats and types.
  -Wno-multichar
  $<$<COMPILE_LANGUAGE:CXX>:-Wshadow -Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<CXX_COMPILER_ID:Clang>:-Wno-four-char-constants>
  $<$<BOOL:${LUMIVANE_DEVELOPER}>:-Werror>
  # Pixel and noise formulas are stated step by step: no fused or reassociated arithmetic.
  -ffp-contract=off
  # The log names sources by their path in the tree, however the compiler is given them: a compiler
  # cache may turn absolute paths into ones relative to the build folder.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
  -fmacro-prefix-map=${LUMIVANE_SOURCE_FROM_BUILD}/=)
# Byte look-ups over whole registers (AVX-512 VBMI), which look-up tables of 256 bytes are made of:
# Highway leaves their instruction set out unless it is asked for, everywhere alike.
# On ARM64 every machine runs NEON. Vectors without a size at compile time cannot be members of
# structures, which kernels keep them in, so SVE is left out.
target_compile_definitions(lumivane_flags INTERFACE
  HWY_WANT_AVX3_DL
  "HWY_DISABLED_TARGETS=(HWY_SVE|HWY_SVE2|HWY_SVE_256|HWY_SVE2_128)")
# Unique symbols would pin every module that has one in memory, so that unloading does nothing.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(lumivane_flags INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
  # g++ 12 sees overlapping copies in its own std::string (GCC bug 105651) when it optimises.
  target_compile_options(lumivane_flags INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()

if(LUMIVANE_LIBFUZZER)
  # Coverage of the code under test, not of the fuzz targets alone, is what guides the fuzzer.
  target_compile_options(lumivane_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(LUMIVANE_SANITIZE)
  # Line tables are all a report needs. The checks are in the code under test: test programs, which
  # are many and large, are not optimised here, for their compilation's sake.
  set(LUMIVANE_SANITIZE_FLAGS -fsanitize=${LUMIVANE_SANITIZE} -fno-omit-frame-pointer -g1
      $<IF:$<BOOL:$<TARGET_PROPERTY:LUMIVANE_TEST>>,-O0,-O1>)
  if(LUMIVANE_SANITIZE MATCHES "undefined")
    list(APPEND LUMIVANE_SANITIZE_FLAGS -fno-sanitize-recover=undefined)
  endif()
  target_compile_options(lumivane_flags INTERFACE ${LUMIVANE_SANITIZE_FLAGS})
  # g++ takes the sanitizers' own code for uses of what is not initialised.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(lumivane_flags INTERFACE -Wno-maybe-uninitialized)
  endif()
  target_link_options(lumivane_flags INTERFACE -fsanitize=${LUMIVANE_SANITIZE})
endif()

function(lumivane_target target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:lumivane_flags>)
endfunction()
