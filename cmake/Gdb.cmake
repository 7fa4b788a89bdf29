# gdb loads the printers with the library: it looks for them under the name of the library's file,
# in the directory that stands for that file's directory. In quotes for the time of installation,
# when the prefix is known.
install(FILES tools/gdb/pseudowire_corra.py
    DESTINATION
        "${CMAKE_INSTALL_DATADIR}/gdb/auto-load\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}"
    RENAME "libPseudowireCorra.so.${PROJECT_VERSION}-gdb.py")
