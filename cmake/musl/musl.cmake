# A build with musl by Debian's g++, whose C++ headers and library are configured for glibc. A compiler that is made for the
# board's C library needs nothing of this folder; see docs/porting.md.
#
# Included by a toolchain file, which sets: architecture (Debian's name), musl_tuple (musl's), compiler_prefix (of the
# compiler's name), cxx_headers (folders of the C++ library) and kernel_headers.

set(cache $ENV{RC_LAB_CACHE})
if(NOT cache)
    set(cache $ENV{XDG_CACHE_HOME})
    if(NOT cache)
        set(cache $ENV{HOME}/.cache)
    endif()
    set(cache ${cache}/rc-lab)
endif()
set(musl_folder ${cache}/musl-${architecture})
execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/fetch ${architecture} ${musl_tuple} ${musl_folder} ${kernel_headers}
    RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "Debian's packages of musl for ${architecture} could not be fetched into ${musl_folder}")
endif()
set(musl_root ${musl_folder}/root)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${compiler_prefix}gcc)
set(CMAKE_CXX_COMPILER ${compiler_prefix}g++)
# CMake's first test of the compiler would link with glibc's C++ library.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH ${musl_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# The start files, loader and C headers are musl's.
set(c_flags "-specs=${musl_root}/usr/lib/${musl_tuple}/musl-gcc.specs")
# GCC's file of options for musl removes the C++ headers together with glibc's, so they are given again. Ours stand before them.
list(PREPEND cxx_headers ${CMAKE_CURRENT_LIST_DIR}/include)
list(TRANSFORM cxx_headers PREPEND "-isystem " OUTPUT_VARIABLE cxx_flags)
list(JOIN cxx_flags " " cxx_flags)
string(PREPEND cxx_flags "-nostdinc++ ")
# os_defines.h asks for glibc's version by this macro of glibc's.
string(APPEND cxx_flags " \"-D__GLIBC_PREREQ(a,b)=0\"")
# glibc's name of the type that POSIX calls locale_t.
string(APPEND cxx_flags " -D__locale_t=locale_t")
string(APPEND cxx_flags " -include ${CMAKE_CURRENT_LIST_DIR}/include/without_glibc.h")
set(CMAKE_C_FLAGS_INIT "${c_flags}")
set(CMAKE_CXX_FLAGS_INIT "${c_flags} ${cxx_flags}")

# For the tests and bench/report: the folder with the programs' loader, and the name in the tests'.
set(RC_SYSROOT ${musl_root} CACHE INTERNAL "")
set(RC_C_LIBRARY musl)
