# Sets `result` to the short hash of the commit, or to "source" where this tree is no git repository of its own.
function(talvo_build_id result)
    set(${result} "source" PARENT_SCOPE)
    find_package(Git QUIET)
    if(NOT GIT_FOUND OR NOT EXISTS ${PROJECT_SOURCE_DIR}/.git)
        return()
    endif()
    execute_process(COMMAND ${GIT_EXECUTABLE} rev-parse --short=12 HEAD WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        OUTPUT_VARIABLE hash OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    if(failed)
        return()
    endif()
    set(${result} ${hash} PARENT_SCOPE)
    # What is released always names its commit; what is tested need not configure again after each one.
    if(NOT TALVO_BUILD_TESTS AND EXISTS ${PROJECT_SOURCE_DIR}/.git/logs/HEAD)
        set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS .git/logs/HEAD)
    endif()
endfunction()
