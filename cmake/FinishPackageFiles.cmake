# Brings what was installed for the packages into the form that Debian asks for: compressed texts, no
# search path in programs, whose library lies where the system looks, archives without debug
# information, and directories that all may enter, whatever the umask was.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/man/*.[1-9]"
    "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/doc/*/changelog")
file(GLOB programs "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/bin/*")
file(GLOB_RECURSE archives "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/lib/*.a")

foreach(page IN LISTS pages)
    execute_process(COMMAND gzip -9n "${page}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(program IN LISTS programs)
    file(RPATH_REMOVE FILE "${program}")
endforeach()
foreach(archive IN LISTS archives)
    execute_process(COMMAND strip --strip-debug --remove-section=.comment "${archive}"
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB_RECURSE paths LIST_DIRECTORIES ON "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*")
foreach(path IN LISTS paths)
    if(IS_DIRECTORY "${path}" AND NOT IS_SYMLINK "${path}")
        file(CHMOD "${path}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
            GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
endforeach()
