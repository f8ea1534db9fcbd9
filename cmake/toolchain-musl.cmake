# This machine's architecture with the C library musl.

set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(architecture amd64)
set(musl_tuple x86_64-linux-musl)
set(compiler_prefix "")
set(cxx_headers /usr/include/c++/12 /usr/include/x86_64-linux-gnu/c++/12)
set(kernel_headers /usr/include/linux /usr/include/asm-generic /usr/include/x86_64-linux-gnu/asm)
include(${CMAKE_CURRENT_LIST_DIR}/musl/musl.cmake)
