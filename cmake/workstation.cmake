# The libraries of the workstation's programs and of the tests.

if(NOT CMAKE_CROSSCOMPILING)
    find_package(CLI11 REQUIRED)
    find_package(fmt REQUIRED)
    find_package(nlohmann_json REQUIRED)
    find_package(GTest REQUIRED)
    # Graphviz has no CMake package configuration.
    find_library(GRAPHVIZ_GVC gvc REQUIRED)
    find_library(GRAPHVIZ_CGRAPH cgraph REQUIRED)
    return()
endif()

# There are no packages of them for another processor. The report is then built without Graphviz; the others are headers and
# sources for any processor. Their headers are linked into a separate folder, because /usr/include would also bring in this
# machine's C library headers.
set(header_folder ${PROJECT_BINARY_DIR}/headers)
foreach(library CLI fmt nlohmann)
    find_path(${library}_parent ${library} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(MAKE_DIRECTORY ${header_folder})
    file(CREATE_LINK ${${library}_parent}/${library} ${header_folder}/${library} SYMBOLIC)
endforeach()
foreach(library CLI11::CLI11 fmt::fmt nlohmann_json::nlohmann_json)
    add_library(${library} INTERFACE IMPORTED)
    target_include_directories(${library} SYSTEM INTERFACE ${header_folder})
endforeach()
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)

# GoogleTest's package has one source file for the library and one for main.
function(add_test_library name folder)
    find_path(${name}_folder src/${name}-all.cc PATHS /usr/src/googletest/${folder}
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    add_library(${name} STATIC EXCLUDE_FROM_ALL ${${name}_folder}/src/${name}-all.cc)
    target_compile_options(${name} PRIVATE -w)
    target_include_directories(${name} SYSTEM PUBLIC ${${name}_folder}/include PRIVATE ${${name}_folder})
    target_link_libraries(${name} PUBLIC ${ARGN})
    add_library(GTest::${name} ALIAS ${name})
endfunction()
add_test_library(gtest googletest)
add_test_library(gmock googlemock gtest)
add_library(gtest_main STATIC EXCLUDE_FROM_ALL ${gtest_folder}/src/gtest_main.cc)
target_compile_options(gtest_main PRIVATE -w)
target_link_libraries(gtest_main PUBLIC gtest)
add_library(GTest::gtest_main ALIAS gtest_main)
