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

# What is installed is hardened (tools/hardening): it may be loaded anywhere, a write
# past a buffer's end ends the run, and nothing that the loader fills in can be
# written afterwards.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fstack-clash-protection ST_HAS_STACK_CLASH_PROTECTION)
target_compile_options(st_settings INTERFACE $<$<NOT:$<CONFIG:Debug>>:
  -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
  $<$<BOOL:${ST_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>
  $<$<NOT:$<BOOL:$<TARGET_PROPERTY:POSITION_INDEPENDENT_CODE>>>:-fPIE>>)
target_link_options(st_settings INTERFACE $<$<NOT:$<CONFIG:Debug>>:
  LINKER:-z,relro,-z,now,-z,noexecstack
  $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie>>)

option(ST_SANITIZE "Build with the address, leak and undefined behaviour sanitizers" OFF)
if(ST_SANITIZE)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # In test programs pointers are left to the address sanitizer, also where headers of
  # ours are compiled into them: looking at each takes half of what a test takes to compile.
  # Programs and libraries are compiled with all checks.
  define_property(TARGET PROPERTY ST_POINTERS_UNCHECKED
    INITIALIZE_FROM_VARIABLE ST_POINTERS_UNCHECKED)
  target_compile_options(st_settings INTERFACE ${sanitizers}
    $<$<BOOL:$<TARGET_PROPERTY:ST_POINTERS_UNCHECKED>>:-fno-sanitize=null,alignment,object-size,vptr>)
  target_link_options(st_settings INTERFACE ${sanitizers})
endif()

add_library(st_warnings INTERFACE)
target_compile_options(st_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Werror)
# In a lump a local name may be that of another source's helper.
if(CMAKE_UNITY_BUILD)
  target_compile_options(st_warnings INTERFACE -Wno-shadow)
endif()

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
