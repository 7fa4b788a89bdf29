# Where things are installed. Debian keeps libraries in a directory for each architecture, below
# /usr/local too, so that one build serves `cmake --install` and the packages.
if(EXISTS "/etc/debian_version" AND CMAKE_LIBRARY_ARCHITECTURE)
    set(CMAKE_INSTALL_LIBDIR "lib/${CMAKE_LIBRARY_ARCHITECTURE}" CACHE PATH "Object code libraries")
endif()
include(GNUInstallDirs)
