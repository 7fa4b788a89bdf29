# Compiles through ccache where it is installed. The sloppiness is what ccache asks for with
# precompiled headers.
find_program(CORRA_CCACHE ccache)
if(CORRA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros "${CORRA_CCACHE}")
endif()
