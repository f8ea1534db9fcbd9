# The router's architecture, little-endian MIPS, with Debian's cross compiler (package g++-mipsel-linux-gnu).
# The build runs programs of the target through user-mode emulation (package qemu-user-static).

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CMAKE_C_COMPILER mipsel-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++)

# Libraries and headers are the target's; programs are the build machine's.
set(mipsel_root /usr/mipsel-linux-gnu)
set(CMAKE_FIND_ROOT_PATH ${mipsel_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel-static -L ${mipsel_root})
