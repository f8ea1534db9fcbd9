# Compiling sources several at a time, so that the headers they share are read once. A folder's sources must not define
# the same name twice then, not even in unnamed namespaces.
#   none         each source by itself: fastest after a small change
#   workstation  rcplan and the tests in batches; the sources of the shipped programs each by itself
#   all          everything in batches
set(RC_BATCHES none CACHE STRING "Compile in batches: none, workstation or all")
set_property(CACHE RC_BATCHES PROPERTY STRINGS none workstation all)
set(RC_BATCH_SIZE 8 CACHE STRING "Sources in a batch")

# compile_in_batches(workstation|all): turns batches on for the targets that follow in this folder and below, if
# RC_BATCHES includes this part.
macro(compile_in_batches part)
    if(RC_BATCHES STREQUAL "all" OR RC_BATCHES STREQUAL "${part}")
        set(CMAKE_UNITY_BUILD ON)
        set(CMAKE_UNITY_BUILD_BATCH_SIZE ${RC_BATCH_SIZE})
        # A local name may equal that of a constant in another file of the batch.
        add_compile_options(-Wno-shadow)
        # GCC takes a source in a batch for a header, where an unnamed namespace would be a mistake.
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
            add_compile_options(-Wno-subobject-linkage)
        endif()
    endif()
endmacro()

# sees_cli11(SOURCE...): compiles sources that include CLI11 by themselves, and without sanitizers: its templates take
# most of a minute there, and it only reads the program's own arguments.
function(sees_cli11)
    compile_alone(${ARGN})
    if(RC_SANITIZE)
        set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "-fno-sanitize=all;-O0")
    endif()
endfunction()

# compile_alone(SOURCE...): compiles sources outside batches, because another file of the folder has the same local names.
function(compile_alone)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# compile_fast(): without optimisation if there are sanitizers, for the sources of this folder. Those that only print take
# longer to compile than to run.
macro(compile_fast)
    if(RC_SANITIZE)
        add_compile_options(-O0)
    endif()
endmacro()
