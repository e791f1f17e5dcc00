# Language, warnings, sanitizers, and the tools that make building faster where they are installed.
include(CheckLinkerFlag)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_compile_options(-Wall -Wextra -Wpedantic)
# Messages and reports name files as the source tree does, wherever it was built.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(TALVO_BUILD_TESTS)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # This release takes text + std::string of its own library for a copy of impossible length, and where it optimises most an empty
    # vector for an array that is read behind its end.
    add_compile_options(-Wno-stringop-overflow -Wno-restrict $<$<NOT:$<CONFIG:Debug>>:-Wno-array-bounds>)
endif()

if(TALVO_SANITIZE)
    add_compile_options(-fsanitize=${TALVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TALVO_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The instrumented code leads these warnings of GCC astray; uninstrumented builds keep them.
        add_compile_options(-Wno-maybe-uninitialized -Wno-restrict -Wno-stringop-overflow -Wno-array-bounds)
    endif()
endif()

find_program(TALVO_CCACHE ccache)
mark_as_advanced(TALVO_CCACHE)
if(TALVO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Without the sloppiness nothing that uses a precompiled header is ever found in the cache.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${TALVO_CCACHE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-fpch-preprocess)
    endif()
endif()

check_linker_flag(CXX -fuse-ld=mold TALVO_HAS_MOLD)
if(TALVO_HAS_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

# An installed program finds the shared libraries beside it, wherever the whole was moved.
set(CMAKE_INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR})
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
