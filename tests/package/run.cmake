# Installs the build, moves what was installed, and uses it from there as a foreign project does: by CMake and by pkg-config.
# Arguments: BUILD, WORK (scratch folder, replaced), COMPILER, FLAGS (those of the build, which its sanitizers need).
cmake_minimum_required(VERSION 3.25)
set(project ${CMAKE_CURRENT_LIST_DIR}/project)
set(prefix ${WORK}/moved)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
# Nothing may remember where it was installed first.
file(RENAME ${WORK}/installed ${prefix})
file(GLOB_RECURSE icon ${prefix}/*/talvo/net.talvo.asset/icons/genericasset.svg)
if(NOT icon)
    message(FATAL_ERROR "The icons were not installed below ${prefix}.")
endif()

run(${CMAKE_COMMAND} -G Ninja -S ${project} -B ${WORK}/cmake -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/cmake)
run(${WORK}/cmake/keep_one_file ${WORK}/repository-cmake)

file(GLOB_RECURSE pcFile ${prefix}/talvo-assets.pc)
cmake_path(GET pcFile PARENT_PATH pcDir)
set(ENV{PKG_CONFIG_PATH} ${pcDir})
execute_process(COMMAND pkg-config --cflags --libs talvo-assets
    OUTPUT_VARIABLE usage OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(usage UNIX_COMMAND "${FLAGS} ${usage}")
run(${COMPILER} -std=c++20 ${project}/main.cpp -o ${WORK}/keep_one_file ${usage})
set(ENV{LD_LIBRARY_PATH} ${prefix}/lib)
run(${WORK}/keep_one_file ${WORK}/repository-pkg-config)

if(EXISTS ${prefix}/bin/talvo)
    set(ENV{LD_LIBRARY_PATH})
    run(${prefix}/bin/talvo --version)
endif()
file(REMOVE_RECURSE ${WORK})
