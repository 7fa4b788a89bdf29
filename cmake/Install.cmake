# A consumer writes find_package(PseudowireCorra) and links PseudowireCorra::PseudowireCorra.
# Includes read after installation as they do here.
include(CMakePackageConfigHelpers)

set(headers "${CMAKE_INSTALL_INCLUDEDIR}/PseudowireCorra")
set(package "${CMAKE_INSTALL_LIBDIR}/cmake/PseudowireCorra")
target_include_directories(PseudowireCorra INTERFACE $<INSTALL_INTERFACE:${headers}>)

install(TARGETS PseudowireCorra EXPORT PseudowireCorra)
install(DIRECTORY describe platform/ frame Interface Pseudowire DESTINATION "${headers}"
    FILES_MATCHING PATTERN "*.h")
install(EXPORT PseudowireCorra NAMESPACE PseudowireCorra:: DESTINATION "${package}"
    FILE PseudowireCorraConfig.cmake)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/PseudowireCorraConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/PseudowireCorraConfigVersion.cmake" DESTINATION "${package}")
