# What a package of libraries runs when it is installed, ldconfig from scripts of its own, becomes a
# trigger, which runs it once for many packages.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(tree "${CPACK_TEMPORARY_DIRECTORY}/tree")
    file(REMOVE_RECURSE "${tree}")
    execute_process(COMMAND dpkg-deb -R "${package}" "${tree}" COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS "${tree}/DEBIAN/shlibs")
        file(REMOVE "${tree}/DEBIAN/postinst" "${tree}/DEBIAN/postrm")
        file(WRITE "${tree}/DEBIAN/triggers" "activate-noawait ldconfig\n")
        execute_process(COMMAND dpkg-deb --root-owner-group -b "${tree}" "${package}"
            OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
