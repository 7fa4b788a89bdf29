# Two libraries are installed, each with a target of find_package(PseudowireCorra) and a pkg-config
# file:
#
#     PseudowireCorra::PseudowireCorra  pseudowirecorra            the whole, a shared library
#     PseudowireCorra::platform         pseudowirecorra-platform   the platform layer alone, static
#
# A program links one of the two: together they would register each module twice, which ends it at
# its start. Includes read after installation as they do here.
include(CMakePackageConfigHelpers)

set(package "${CMAKE_INSTALL_LIBDIR}/cmake/PseudowireCorra")
set(headers "${CMAKE_INSTALL_INCLUDEDIR}/PseudowireCorra")
set(platform_headers "${CMAKE_INSTALL_INCLUDEDIR}/PseudowireCorraPlatform")
# What sources of the library include and no other header does.
set(private_headers
    Vorn/InetText.h
    Zin/HashMap2018Trie.h
    Zin/NboAttrLogConnectionImpl.h)

target_include_directories(PseudowireCorraPlatform INTERFACE $<INSTALL_INTERFACE:${platform_headers}>)
target_include_directories(PseudowireCorra INTERFACE
    $<INSTALL_INTERFACE:${headers}> $<INSTALL_INTERFACE:${platform_headers}>)
# CMake refuses a program whose libraries differ in this.
set_property(TARGET PseudowireCorra PseudowireCorraPlatform
    PROPERTY COMPATIBLE_INTERFACE_STRING PSEUDOWIRECORRA_PLATFORM)
set_property(TARGET PseudowireCorra PROPERTY INTERFACE_PSEUDOWIRECORRA_PLATFORM shared)
set_property(TARGET PseudowireCorraPlatform PROPERTY INTERFACE_PSEUDOWIRECORRA_PLATFORM static)

install(TARGETS PseudowireCorra EXPORT PseudowireCorra
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS PseudowireCorraPlatform EXPORT PseudowireCorra
    ARCHIVE COMPONENT development)
install(DIRECTORY frame Interface Pseudowire DESTINATION "${headers}"
    COMPONENT development FILES_MATCHING PATTERN "*.h")
list(TRANSFORM private_headers REPLACE "(.+)/(.+)" "PATTERN;\\1/\\2;EXCLUDE" OUTPUT_VARIABLE excluded)
install(DIRECTORY describe platform/ DESTINATION "${platform_headers}"
    COMPONENT development FILES_MATCHING PATTERN "*.h" ${excluded})

install(EXPORT PseudowireCorra NAMESPACE PseudowireCorra:: DESTINATION "${package}"
    COMPONENT development FILE PseudowireCorraTargets.cmake)
configure_package_config_file(cmake/PseudowireCorraConfig.cmake.in
    "${PROJECT_BINARY_DIR}/PseudowireCorraConfig.cmake"
    INSTALL_DESTINATION "${package}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/PseudowireCorraConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
        "${PROJECT_BINARY_DIR}/PseudowireCorraConfig.cmake"
        "${PROJECT_BINARY_DIR}/PseudowireCorraConfigVersion.cmake"
    DESTINATION "${package}" COMPONENT development)

# Found from where the file lies, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig
    "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
foreach(name IN ITEMS pseudowirecorra pseudowirecorra-platform)
    configure_file("cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endforeach()
