# Flags for all our code, and additional ones for what ships on the router.

option(RC_SANITIZE "Address and undefined-behaviour sanitizers" OFF)

add_compile_options(-Wall -Wextra -Wshadow -Wformat=2 -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Wold-style-cast -Wundef -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wduplicated-cond -Wlogical-op -Wuseless-cast)
endif()

option(RC_FUZZ "libFuzzer targets; with clang" OFF)
if(RC_FUZZ)
    # Coverage in all objects, so that the fuzzer sees the code that an input reaches. Compared values would take a
    # quarter of the time; the dictionary has the words that inputs need.
    add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
    # An index beyond a view's end aborts, even if the memory there is valid.
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

if(RC_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    # Checks that the sanitizers lack: an empty optional's value, an index past a view's end.
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

# What ships: no exceptions, no run-time types, nothing before main, nothing unused.
add_library(router_flags INTERFACE)
target_compile_options(router_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    -fno-asynchronous-unwind-tables -fno-unwind-tables -fvisibility=hidden
    -ffunction-sections -fdata-sections)

# How a shipped program or library is linked: libstdc++'s few templates statically, unused sections dropped.
# Pages have 4 KiB; otherwise the linker would pad for the architecture's largest page size.
add_library(router_link INTERFACE)
target_link_options(router_link INTERFACE
    -static-libgcc -Wl,--gc-sections -Wl,--as-needed -Wl,-z,relro,-z,now,-z,max-page-size=4096)
if(NOT RC_SANITIZE)
    target_link_options(router_link INTERFACE -static-libstdc++)
endif()
# On MIPS, the dynamic section is read-only anyway and the global offset table is not made so: relro would protect a few
# bytes and fill up a page of the file.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^mips")
    target_link_options(router_link INTERFACE -Wl,-z,norelro)
endif()

# Link-time optimisation saves a tenth to a fifth of the size. The objects contain machine code too, with which rcplan and
# the tests are linked without it; gcc needs an option for that. A build without them (RC_PLAYER) does not.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "MinSizeRel")
    set_property(TARGET router_link PROPERTY INTERFACE_RC_SHIPS ON)
    set_property(TARGET router_link PROPERTY COMPATIBLE_INTERFACE_BOOL RC_SHIPS)
    add_link_options($<$<NOT:$<BOOL:$<TARGET_PROPERTY:RC_SHIPS>>>:-fno-lto>)
    target_compile_options(router_flags INTERFACE -flto=auto)
    if(NOT RC_PLAYER)
        target_compile_options(router_flags INTERFACE -ffat-lto-objects)
    endif()
    target_link_options(router_link INTERFACE -flto=auto)
endif()

# A shipped program. It has a fixed address, which kernels of the router's age use for every program anyway: the loader does
# not have to enter an address for each pointer in its tables, a tenth of what a run with musl does, and on MIPS, avoiding
# the global offset table for its own functions and data saves a sixth of the size.
add_library(router_program INTERFACE)
target_link_libraries(router_program INTERFACE router_link)
if(NOT RC_SANITIZE)
    target_link_options(router_program INTERFACE -no-pie -fno-pic)
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^mips")
    # Its data follow the code without a gap that would fill up a page of the file.
    target_link_options(router_program INTERFACE -mno-shared -mplt -Wl,-z,common-page-size=16)
endif()

# Coverage is counted in what ships, not in the planner and the tests; each program adds to the counts at its end.
option(RC_COVERAGE "Count which lines of the router's code run; with g++" OFF)
if(RC_COVERAGE)
    target_compile_options(router_flags INTERFACE --coverage)
    add_link_options(--coverage -Wl,--wrap=_exit)
    add_library(counts_at_exit OBJECT ${PROJECT_SOURCE_DIR}/tools/counts_at_exit.cc)
    target_compile_options(counts_at_exit PRIVATE -fPIC)
    link_libraries(counts_at_exit)
endif()
