# The recorder's machine: ARM, 32 bit, hard float. Its programs run here under
# an emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# Which argument is passed how has changed between compilers; no such call leaves
# this tree.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
set(base /usr/arm-linux-gnueabihf)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${base})
set(CMAKE_CROSSCOMPILING_LOADER ${base}/lib/ld-linux-armhf.so.3)
# What the compiler's own libraries lack, as tools/sysroot unpacks it.
get_filename_component(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/armhf ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
