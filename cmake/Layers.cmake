# The library is cut into layers. Each is a target that sees its own include root and those of the
# layers below, so an include that runs upward does not compile.

# corra_layer(<name> ROOT <directory> [BELOW <layer>])
#
# ROOT with a trailing slash is an include root as it stands. Without, its files are included by
# its own name ("frame/Attribute.h"), so the root is a directory in the build tree that holds
# nothing but a link to it: the source directory itself would show every other layer too.
function(corra_layer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "ROOT;BELOW" "")
    if(arg_ROOT MATCHES "/$")
        set(root "${PROJECT_SOURCE_DIR}/${arg_ROOT}")
    else()
        set(root "${PROJECT_BINARY_DIR}/roots/${name}")
        file(MAKE_DIRECTORY "${root}")
        file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${arg_ROOT}" "${root}/${arg_ROOT}" SYMBOLIC)
    endif()

    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${arg_ROOT}/*.cpp")
    if(sources)
        add_library(${name} OBJECT ${sources})
        set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
        target_link_libraries(${name} PRIVATE corra_warnings)
        # Nobody replaces single functions of the library: calls within it may be inlined.
        target_compile_options(${name} PRIVATE
            $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
        # Standard since C++14, but off by default before clang 19.
        target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:Clang>:-fsized-deallocation>)
        if(CORRA_DEBUG_INFORMATION)
            target_compile_options(${name} PRIVATE -g)
        endif()
        set(scope PUBLIC)
    else()
        add_library(${name} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_include_directories(${name} ${scope} "${root}")
    target_link_libraries(${name} ${scope} ${arg_BELOW})
endfunction()

# corra_library(<name> <SHARED|STATIC> <layer>...): the library made of the layers' objects.
function(corra_library name type)
    add_library(${name} ${type})
    foreach(layer IN LISTS ARGN)
        get_target_property(kind ${layer} TYPE)
        if(kind STREQUAL "OBJECT_LIBRARY")
            target_sources(${name} PRIVATE $<TARGET_OBJECTS:${layer}>)
        endif()
        target_include_directories(${name} INTERFACE
            $<BUILD_INTERFACE:$<TARGET_PROPERTY:${layer},INTERFACE_INCLUDE_DIRECTORIES>>)
    endforeach()
    target_compile_features(${name} INTERFACE cxx_std_20)
    set_target_properties(${name} PROPERTIES
        LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION ${CORRA_SOVERSION})
    if(type STREQUAL "SHARED" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()
