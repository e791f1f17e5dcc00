# What is installed, and the package by which other CMake or pkg-config projects find it. All paths in it are relative.
include(CMakePackageConfigHelpers)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/TalvoAssets)

foreach(library talvo_kernel talvo_assets)
    if(TARGET ${library})
        install(TARGETS ${library} EXPORT TalvoAssetsTargets)
        list(APPEND installedLibraries ${library})
    endif()
endforeach()
if(NOT installedLibraries)
    return()
endif()
if(TARGET talvo)
    install(TARGETS talvo)
endif()

install(DIRECTORY kernel DESTINATION ${installedIncludes} FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/include)
    install(DIRECTORY include/ DESTINATION ${installedIncludes} FILES_MATCHING PATTERN "*.h" PATTERN "*.inl")
endif()
if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/resources)
    install(DIRECTORY resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/talvo)
endif()
if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/docs)
    install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png")
endif()
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT TalvoAssetsTargets NAMESPACE TalvoAssets:: DESTINATION ${packageDir})
configure_package_config_file(cmake/TalvoAssetsConfig.cmake.in ${PROJECT_BINARY_DIR}/TalvoAssetsConfig.cmake
    INSTALL_DESTINATION ${packageDir})
# While the first number is 0, a new second one may break what uses us.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TalvoAssetsConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/TalvoAssetsConfig.cmake ${PROJECT_BINARY_DIR}/TalvoAssetsConfigVersion.cmake
    cmake/FindXxHash.cmake DESTINATION ${packageDir})

# The file lies below the prefix: it finds the prefix from its own place.
file(RELATIVE_PATH pcPrefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pcPrefix ${pcPrefix})
set(pcLibs "")
foreach(library talvo_assets talvo_kernel)
    if(TARGET ${library})
        string(APPEND pcLibs " -l${library}")
    endif()
endforeach()
set(pcDefinitions "")
foreach(switch TALVO_FAULTS TALVO_LOCK_CHECK)
    if(${switch})
        string(APPEND pcDefinitions " -D${switch}=1")
    endif()
endforeach()
# Shared libraries know what they need, static ones must be told.
set(pcPrivate "icu-i18n icu-uc libcrypto libxxhash flatbuffers")
set(pcPublic "absl_flat_hash_set absl_hash")
if(NOT BUILD_SHARED_LIBS)
    string(APPEND pcPublic " ${pcPrivate}")
    set(pcPrivate "")
endif()
configure_file(cmake/talvo-assets.pc.in ${PROJECT_BINARY_DIR}/talvo-assets.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/talvo-assets.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
