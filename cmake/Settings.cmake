# What every target is compiled with (st_settings) and how strictly our own
# sources are read (st_warnings).

add_library(st_settings INTERFACE)
target_compile_features(st_settings INTERFACE cxx_std_17)
# Percentages are single-precision sums that print alike on every machine.
target_compile_options(st_settings INTERFACE -ffp-contract=off)

# Volumes hold more than 32 bits count, and so do their files' inode numbers.
target_compile_definitions(st_settings INTERFACE _FILE_OFFSET_BITS=64)
option(ST_64_BIT_TIME "Count time in 64 bits on 32-bit machines too (needs a C library that can: glibc 2.34)" OFF)
if(ST_64_BIT_TIME)
  target_compile_definitions(st_settings INTERFACE _TIME_BITS=64)
endif()

# Programs may be loaded anywhere, and the lab's objects also go into a shared
# library, where nobody replaces our functions by others of the same name.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
target_compile_options(st_settings INTERFACE -fno-semantic-interposition)

# What is installed is hardened: a call through a table that somebody has
# overwritten, or a write past a buffer's end, ends the run (tools/hardening).
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fstack-clash-protection ST_HAS_STACK_CLASH_PROTECTION)
target_compile_options(st_settings INTERFACE $<$<NOT:$<CONFIG:Debug>>:
  -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
  $<$<BOOL:${ST_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>>)
target_link_options(st_settings INTERFACE
  $<$<NOT:$<CONFIG:Debug>>:LINKER:-z,relro,-z,now,-z,noexecstack>)

option(ST_SANITIZE "Build with the address, leak and undefined behaviour sanitizers" OFF)
if(ST_SANITIZE)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(st_settings INTERFACE ${sanitizers})
  target_link_options(st_settings INTERFACE ${sanitizers})
endif()

add_library(st_warnings INTERFACE)
target_compile_options(st_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Werror)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
