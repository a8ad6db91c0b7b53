# Debian's cross compiler, with the libraries that packaging/arm64-sysroot unpacks.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

cmake_path(SET sysroot NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-sysroot)
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${sysroot})
set(ENV{PKG_CONFIG_LIBDIR} ${sysroot}/usr/lib/aarch64-linux-gnu/pkgconfig:${sysroot}/usr/share/pkgconfig)
# Where the linker finds the libraries that our libraries need.
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${sysroot}/usr/lib/aarch64-linux-gnu)
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})

# Runs the tests.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${sysroot})
