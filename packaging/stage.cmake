# Run by cpack between the installation into its staging directory and the packing: what Debian asks
# of a package and a plain installation does not do.

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The packages differ in nothing that the time or the place of the build decides.
set(epoch $ENV{SOURCE_DATE_EPOCH})
if(NOT epoch)
    message(FATAL_ERROR "SOURCE_DATE_EPOCH is not set: use scripts/package")
endif()

set(command postdock)
set(development libmorvex-dev)
foreach(component command development)
    set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component})
    set(name ${${component}})
    set(documents ${root}/usr/share/doc/${name})

    file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/copyright ${documents}/copyright)
    file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/changelog ${documents}/changelog.Debian)
    # Debian's name for the changes of the program itself.
    file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md ${documents}/changelog)
    file(REMOVE ${documents}/CHANGELOG.md)
    if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/lintian/${name})
        file(MAKE_DIRECTORY ${root}/usr/share/lintian/overrides)
        file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/lintian/${name}
            ${root}/usr/share/lintian/overrides/${name})
    endif()

    file(GLOB_RECURSE pages ${root}/usr/share/man/*.[15])
    run(gzip -9n ${pages} ${documents}/changelog ${documents}/changelog.Debian)

    file(GLOB_RECURSE archives ${root}/*.a)
    if(archives)
        run(strip --strip-debug --enable-deterministic-archives ${archives})
    endif()
    run(find ${root} -type d -exec chmod 0755 {} +)
    run(find ${root} -type f ! -path "*/bin/*" -exec chmod 0644 {} +)
    run(find ${root} -exec touch --no-dereference --date=@${epoch} {} +)
endforeach()
