# Compiling sources several at a time, so that the headers they share are read once. A folder's sources must not define
# the same name twice then, not even in unnamed namespaces.
#   none         each source by itself: the shortest way from a change to a program
#   workstation  rcplan and the tests in batches; what ships is compiled by itself, as it ships
#   all          everything in batches
set(RC_BATCHES none CACHE STRING "Compile in batches: none, workstation or all")
set_property(CACHE RC_BATCHES PROPERTY STRINGS none workstation all)
set(RC_BATCH_SIZE 8 CACHE STRING "Sources in a batch")

# compile_in_batches(workstation|all): turns it on for the targets that follow in this folder and below, if the build has
# it for these parts.
macro(compile_in_batches part)
    if(RC_BATCHES STREQUAL "all" OR RC_BATCHES STREQUAL "${part}")
        set(CMAKE_UNITY_BUILD ON)
        set(CMAKE_UNITY_BUILD_BATCH_SIZE ${RC_BATCH_SIZE})
        # A local name may be a constant's of another file.
        add_compile_options(-Wno-shadow)
    endif()
endmacro()

# compile_alone(SOURCE...): outside of batches: these have local names that another file of their folder has, too.
function(compile_alone)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
