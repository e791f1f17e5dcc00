# What can be chosen at configure time. The presets choose for the usual cases.
option(TALVO_BUILD_TESTS "Build the test binaries" ${PROJECT_IS_TOP_LEVEL})
option(TALVO_BUILD_APPS "Build the command line program" ON)
option(TALVO_BUILD_BENCH "Build the benchmarks" OFF)
option(TALVO_INSTALL "Define the install rules and the CMake package" ${PROJECT_IS_TOP_LEVEL})
option(BUILD_SHARED_LIBS "Build shared instead of static libraries" OFF)
# Both cost a little in each file operation and lock, so that only test builds have them.
option(TALVO_FAULTS "File operations can be told to fail at the n-th call" ${TALVO_BUILD_TESTS})
option(TALVO_LOCK_CHECK "Locks report an order that could deadlock" ${TALVO_BUILD_TESTS})
option(TALVO_BUILD_FUZZ "Build the fuzz targets; needs clang, and fuzzer-no-link among the sanitizers" OFF)
set(TALVO_SANITIZE "" CACHE STRING "Sanitizers of the compiler, e.g. \"address,undefined\" or \"thread\"")

get_property(isMultiConfig GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT isMultiConfig AND NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()
