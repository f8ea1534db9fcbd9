# Flags for all code of ours, and those of what ships on the router.

option(RC_SANITIZE "Address and undefined-behaviour sanitizers" OFF)

add_compile_options(-Wall -Wextra -Werror -Wshadow -Wformat=2 -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Wold-style-cast -Wundef -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wduplicated-cond -Wlogical-op -Wuseless-cast)
endif()

option(RC_FUZZ "libFuzzer targets; with clang" OFF)
if(RC_FUZZ)
    # Coverage in all objects, so that the fuzzer sees where an input leads.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(RC_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    # What the sanitizers do not see: an optional without its value, a view past its end.
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

# What ships: no exceptions, no run-time types, nothing before main, nothing unused.
add_library(router_flags INTERFACE)
target_compile_options(router_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    -fno-asynchronous-unwind-tables -fno-unwind-tables -fvisibility=hidden
    -ffunction-sections -fdata-sections)

# How a shipped program or library is linked: libstdc++'s few templates statically, unused sections dropped.
# Pages are of 4 KiB; the linker would pad for the largest that the architecture knows.
add_library(router_link INTERFACE)
target_link_options(router_link INTERFACE
    -static-libgcc -Wl,--gc-sections -Wl,--as-needed -Wl,-z,relro,-z,now,-z,max-page-size=4096)
if(NOT RC_SANITIZE)
    target_link_options(router_link INTERFACE -static-libstdc++)
endif()
