# Test binaries: one for each part of the tree, each built from all *_test.cpp below its folders.
include(GoogleTest)

talvo_sources(allTests tests/*_test.cpp)
talvo_sources(supportSources tests/support/*.cpp)
# What tests of the module share lies apart: some linkers take in whole files of a library for any symbol of theirs.
set(assetSupportSources ${supportSources})
list(FILTER assetSupportSources INCLUDE REGEX "/asset_")
list(FILTER supportSources EXCLUDE REGEX "/asset_")

function(talvo_select result pattern)
    set(selected ${allTests})
    list(FILTER selected INCLUDE REGEX ${pattern})
    set(${result} ${selected} PARENT_SCOPE)
endfunction()

talvo_select(kernelTests "^tests/kernel/")
talvo_sources(talvoTests tests/talvo/*.cpp)  # with what runs the program
talvo_select(concurrencyTests "^tests/concurrency/")
# With the fuzz targets, which are replayed on their corpora.
talvo_sources(hostileTests tests/hostile/*.cpp)
talvo_sources(fuzzSources fuzz/*.cpp)
list(REMOVE_ITEM fuzzSources fuzz/fuzz_driver.cpp)
# Whatever is not one of these is a test of the module.
set(assetTests ${allTests})
list(FILTER assetTests EXCLUDE REGEX "^tests/(kernel|talvo|concurrency|hostile|package|support)/")

# One precompiled header for all test binaries; they are compiled with the same options.
file(WRITE ${PROJECT_BINARY_DIR}/test_pch.cpp.new "// Carries the precompiled header of the tests.\n")
file(COPY_FILE ${PROJECT_BINARY_DIR}/test_pch.cpp.new ${PROJECT_BINARY_DIR}/test_pch.cpp ONLY_IF_DIFFERENT)
add_library(talvo_test_pch OBJECT EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/test_pch.cpp)
target_link_libraries(talvo_test_pch PRIVATE GTest::gmock)
if(TARGET talvo_kernel)
    target_link_libraries(talvo_test_pch PRIVATE talvo_kernel)
endif()
target_precompile_headers(talvo_test_pch PRIVATE ${PROJECT_SOURCE_DIR}/cmake/pch_test.h)

if(supportSources AND TARGET talvo_kernel)
    # Not linked to the module, so that tests of the kernel don't wait for it.
    add_library(talvo_test_support STATIC EXCLUDE_FROM_ALL ${supportSources})
    target_include_directories(talvo_test_support PUBLIC ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/include)
    target_link_libraries(talvo_test_support PUBLIC GTest::gmock talvo_kernel)
    target_precompile_headers(talvo_test_support REUSE_FROM talvo_test_pch)
    if(assetSupportSources AND TARGET talvo_assets)
        add_library(talvo_asset_test_support STATIC EXCLUDE_FROM_ALL ${assetSupportSources})
        target_link_libraries(talvo_asset_test_support PUBLIC talvo_test_support talvo_assets)
        target_precompile_headers(talvo_asset_test_support REUSE_FROM talvo_test_pch)
    endif()
endif()

# talvo_test_binary(NAME LIBRARY TEST...): builds NAME and lists each of its cases with ctest, which starts them one by one.
function(talvo_test_binary name library)
    if(NOT ARGN OR NOT TARGET ${library})
        return()
    endif()
    add_executable(${name} ${ARGN})
    if(${library} STREQUAL talvo_assets AND TARGET talvo_asset_test_support)
        target_link_libraries(${name} PRIVATE talvo_asset_test_support)
    endif()
    if(TARGET talvo_test_support)
        target_link_libraries(${name} PRIVATE talvo_test_support)
    endif()
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${library} GTest::gmock GTest::gmock_main)
    target_precompile_headers(${name} REUSE_FROM talvo_test_pch)
    string(REGEX REPLACE "_tests$" "" label ${name})
    gtest_discover_tests(${name} TEST_PREFIX ${label}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
        PROPERTIES LABELS ${label} TIMEOUT 300)
endfunction()

talvo_test_binary(kernel_tests talvo_kernel ${kernelTests})
talvo_test_binary(asset_tests talvo_assets ${assetTests})
talvo_test_binary(hostile_tests talvo_assets ${hostileTests} ${fuzzSources})
if(TARGET talvo_assets)
    talvo_test_binary(concurrency_tests talvo_assets ${concurrencyTests})
else()
    talvo_test_binary(concurrency_tests talvo_kernel ${concurrencyTests})
endif()
if(TARGET talvo)
    talvo_test_binary(talvo_tests talvo_assets ${talvoTests})
endif()
if(TARGET asset_tests)
    target_include_directories(asset_tests PRIVATE ${moduleRoots})
    target_compile_definitions(asset_tests PRIVATE TALVO_DOCS="${PROJECT_SOURCE_DIR}/docs")
endif()
if(TARGET concurrency_tests)
    target_include_directories(concurrency_tests PRIVATE ${moduleRoots})
endif()
if(TARGET hostile_tests)
    target_include_directories(hostile_tests PRIVATE ${moduleRoots})
    target_compile_definitions(hostile_tests PRIVATE TALVO_CORPUS="${PROJECT_SOURCE_DIR}/fuzz/corpus")
endif()
if(TARGET talvo_tests)
    # What docs/ shows a host is built and run.
    add_executable(browser_host_example docs/examples/browser_host.cpp)
    target_link_libraries(browser_host_example PRIVATE talvo_assets)
    target_compile_definitions(talvo_tests PRIVATE TALVO_BINARY="$<TARGET_FILE:talvo>"
        TALVO_EXAMPLE="$<TARGET_FILE:browser_host_example>")
    add_dependencies(talvo_tests talvo browser_host_example)
endif()

# The installed whole, used by a project that knows nothing of this tree.
if(TALVO_INSTALL AND TARGET talvo_assets)
    set(foreignFlags "")
    if(TALVO_SANITIZE)
        set(foreignFlags -fsanitize=${TALVO_SANITIZE})
    endif()
    add_test(NAME package COMMAND ${CMAKE_COMMAND} -DBUILD=${PROJECT_BINARY_DIR} -DWORK=${PROJECT_BINARY_DIR}/package
        -DCOMPILER=${CMAKE_CXX_COMPILER} -DFLAGS=${foreignFlags} -P ${PROJECT_SOURCE_DIR}/tests/package/run.cmake)
    set_tests_properties(package PROPERTIES LABELS package TIMEOUT 300)
endif()

# Each operation of each workload fails, is the last one, or runs out of memory: scripts/sweep runs all of it.
talvo_sources(sweepSources tests/sweep/*.cpp)
if(sweepSources AND TARGET talvo_assets AND TALVO_FAULTS)
    add_executable(crash_sweep EXCLUDE_FROM_ALL ${sweepSources})
    target_include_directories(crash_sweep PRIVATE ${PROJECT_SOURCE_DIR} ${moduleRoots})
    target_link_libraries(crash_sweep PRIVATE talvo_assets)
endif()
