# The libraries and the program. Sources are found by folder, so that a new file needs no entry here.

function(talvo_sources result pattern)
    file(GLOB_RECURSE files CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/${pattern})
    set(${result} ${files} PARENT_SCOPE)
endfunction()

talvo_sources(kernelSources kernel/*.cpp)
talvo_sources(moduleSources modules/*.cpp)
talvo_sources(appSources apps/talvo/*.cpp)

# Each module's source folder is a root for the includes of that module and of its tests, of nobody else.
file(GLOB moduleRoots CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/modules/*.module/source)

set(installedIncludes ${CMAKE_INSTALL_INCLUDEDIR}/talvo)

if(kernelSources)
    add_library(talvo_kernel ${kernelSources})
    add_library(TalvoAssets::kernel ALIAS talvo_kernel)
    set_target_properties(talvo_kernel PROPERTIES EXPORT_NAME kernel VERSION ${PROJECT_VERSION} SOVERSION 0 DEFINE_SYMBOL "")
    target_compile_features(talvo_kernel PUBLIC cxx_std_20)
    target_include_directories(talvo_kernel PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${installedIncludes}>)
    target_compile_definitions(talvo_kernel PUBLIC
        $<$<BOOL:${TALVO_FAULTS}>:TALVO_FAULTS=1> $<$<BOOL:${TALVO_LOCK_CHECK}>:TALVO_LOCK_CHECK=1>)
    target_link_libraries(talvo_kernel
        PUBLIC absl::flat_hash_set absl::hash Threads::Threads
        PRIVATE ICU::uc ICU::i18n nlohmann_json::nlohmann_json flatbuffers::flatbuffers OpenSSL::Crypto XxHash::XxHash)
    target_precompile_headers(talvo_kernel PRIVATE ${PROJECT_SOURCE_DIR}/cmake/pch_std.h)
endif()

if(moduleSources AND TARGET talvo_kernel)
    add_library(talvo_assets ${moduleSources})
    add_library(TalvoAssets::assets ALIAS talvo_assets)
    set_target_properties(talvo_assets PROPERTIES EXPORT_NAME assets VERSION ${PROJECT_VERSION} SOVERSION 0 DEFINE_SYMBOL "")
    target_include_directories(talvo_assets
        PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${installedIncludes}>
        PRIVATE ${moduleRoots})
    target_link_libraries(talvo_assets
        PUBLIC talvo_kernel
        PRIVATE nlohmann_json::nlohmann_json OpenSSL::Crypto XxHash::XxHash)
    target_precompile_headers(talvo_assets REUSE_FROM talvo_kernel)
endif()

# The version is known to one file only: a new commit must not compile the rest again.
set(versionedSource ${PROJECT_SOURCE_DIR}/kernel/app/application.cpp)
if(EXISTS ${versionedSource})
    include(TalvoBuildId)
    talvo_build_id(buildId)
    set_source_files_properties(${versionedSource} PROPERTIES
        COMPILE_DEFINITIONS "TALVO_VERSION=\"${PROJECT_VERSION}\";TALVO_BUILD_ID=\"${buildId}\""
        SKIP_PRECOMPILE_HEADERS ON)
endif()

if(TALVO_BUILD_APPS AND appSources AND TARGET talvo_assets)
    add_executable(talvo ${appSources})
    target_link_libraries(talvo PRIVATE talvo_assets CLI11::CLI11 ICU::uc nlohmann_json::nlohmann_json)
    if(NOT BUILD_SHARED_LIBS)  # position independent code has another precompiled header
        target_precompile_headers(talvo REUSE_FROM talvo_kernel)
    endif()
endif()

# A program looks for its resources in ../share/talvo: so installed and freshly built ones do the same.
if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/resources)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/share)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/resources ${PROJECT_BINARY_DIR}/share/talvo SYMBOLIC)
endif()
