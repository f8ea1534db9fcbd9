# The router's architecture, little-endian MIPS, with the C library musl, as such routers carry it. Debian's cross compiler
# (package g++-mipsel-linux-gnu); the tests run the programs through user-mode emulation (package qemu-user-static).

set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(architecture mipsel)
set(musl_tuple mipsel-linux-musl)
set(compiler_prefix mipsel-linux-gnu-)
set(headers /usr/mipsel-linux-gnu/include)
set(cxx_headers ${headers}/c++/12 ${headers}/c++/12/mipsel-linux-gnu)
set(kernel_headers ${headers}/linux ${headers}/asm-generic ${headers}/asm)
include(${CMAKE_CURRENT_LIST_DIR}/musl/musl.cmake)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel-static -L ${musl_root})
