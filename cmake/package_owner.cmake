# Repacks each plain archive, with root as the owner of its files and in a fixed order.
foreach(archive ${CPACK_PACKAGE_FILES})
    if(NOT archive MATCHES "\\.tar\\.gz$")
        continue()
    endif()
    set(folder ${archive}.unpacked)
    file(ARCHIVE_EXTRACT INPUT ${archive} DESTINATION ${folder})
    execute_process(COMMAND tar --create --gzip --file ${archive} --directory ${folder}
        --owner=root:0 --group=root:0 --sort=name usr COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${folder})
endforeach()
