# st for systems that are older than the one that builds: compiled and linked
# against the headers and libraries of an earlier Debian release, in ST_BASE
# (tools/sysroot), for the machine ST_TRIPLET. ST_BASE_GCC is that release's GCC.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ST_BASE ST_BASE_GCC ST_TRIPLET)
set(CMAKE_SYSTEM_NAME Linux)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR "${ST_TRIPLET}")
set(CMAKE_SYSROOT ${ST_BASE})
set(CMAKE_CXX_COMPILER ${ST_TRIPLET}-g++)

# In front of the compiler's own, which are of its own release.
set(CMAKE_CXX_FLAGS_INIT "-nostdinc++")
foreach(folder IN ITEMS c++/${ST_BASE_GCC} ${ST_TRIPLET}/c++/${ST_BASE_GCC} ${ST_TRIPLET} .)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${ST_BASE}/usr/include/${folder}")
endforeach()
if(ST_TRIPLET MATCHES "^arm-")
  # As in arm-linux-gnueabihf.cmake.
  string(APPEND CMAKE_CXX_FLAGS_INIT " -Wno-psabi")
endif()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-B${ST_BASE}/usr/lib/${ST_TRIPLET}")
foreach(folder IN ITEMS usr/lib/gcc/${ST_TRIPLET}/${ST_BASE_GCC} usr/lib/${ST_TRIPLET} lib/${ST_TRIPLET})
  string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -L${ST_BASE}/${folder}")
endforeach()
