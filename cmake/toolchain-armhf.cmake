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
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${sysroot})
set(ENV{PKG_CONFIG_LIBDIR} ${sysroot}/usr/lib/arm-linux-gnueabihf/pkgconfig)

# Libraries that libraries need.
foreach(dir usr/lib lib)
    string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT
        " -Wl,-rpath-link,${sysroot}/${dir}/arm-linux-gnueabihf")
endforeach()

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${sysroot})
