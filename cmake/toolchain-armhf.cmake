# The camera's processor, by Debian's cross compiler. Libraries come from build/sysroot/armhf, where
# scripts/sysroot puts them; what is built runs here under QEMU.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc-12)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++-12)

get_filename_component(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/armhf ABSOLUTE)
if(NOT EXISTS ${sysroot})
    message(FATAL_ERROR "There is no ${sysroot}: run scripts/sysroot armhf")
endif()
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Libraries that libraries need. The linker parts folders at colons, the compiler at commas and the
# shell at blanks, so these are named from where the build runs.
file(RELATIVE_PATH near ${CMAKE_BINARY_DIR} ${sysroot})
foreach(dir usr/lib lib)
    string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT
        " -Wl,-rpath-link,${near}/${dir}/arm-linux-gnueabihf")
endforeach()

# The emulator's loader looks there by itself: what is built needs no run path to it.
set(CMAKE_PLATFORM_IMPLICIT_LINK_DIRECTORIES ${sysroot}/usr/lib/arm-linux-gnueabihf)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${sysroot})
