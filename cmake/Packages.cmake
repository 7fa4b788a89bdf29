# Debian packages of a build (`cpack` in its directory): the library for programs that run, what one
# needs to build others, and the tool.
set(CORRA_MAINTAINER "The maintainers of PseudowireCorra <maintainers@pseudowirecorra.invalid>"
    CACHE STRING "Who is responsible for the packages that are made here")
mark_as_advanced(CORRA_MAINTAINER)
set(library_package "libpseudowirecorra${CORRA_SOVERSION}")
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development)
if(CORRA_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_NAME pseudowirecorra)
set(CPACK_PACKAGE_CONTACT "${CORRA_MAINTAINER}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/FinishPackageFiles.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/FinishPackages.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${library_package}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_MULTIARCH same)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Data model of pseudowires and layer-2 VPNs on a switch
Typed entities that hold the configuration and the state of pseudowires,
which agents change through mutators, observe through reactors, and mirror
in other processes over an attribute log.
.
This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libpseudowirecorra-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers of libPseudowireCorra, and its platform layer alone
What programs that use libPseudowireCorra are built with: headers, a package
for CMake, and files for pkg-config.
.
The platform layer, which is values, texts, collections and type tables
without the entities, comes as a static library too.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME corra)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION net)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS "bash-completion, graphviz")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "Loads, serves, mirrors and explains the pseudowire state of a router
Imports what a router prints, serves it to other processes, mirrors what they
serve, shows every change as it arrives, changes and compares state, draws
the services, and says why one of them is down.")

# What Debian wants beside each package, and nobody else does.
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian-changelog.in "${PROJECT_BINARY_DIR}/debian/changelog" @ONLY)
configure_file(cmake/debian-copyright.in "${PROJECT_BINARY_DIR}/debian/copyright" @ONLY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER "${component}" key)
    install(FILES "${PROJECT_BINARY_DIR}/debian/changelog" "${PROJECT_BINARY_DIR}/debian/copyright"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${key}_PACKAGE_NAME}"
        COMPONENT "${component}" EXCLUDE_FROM_ALL)
endforeach()
include(CPack)
