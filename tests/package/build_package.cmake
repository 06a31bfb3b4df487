# SPDX-License-Identifier: MIT
# Fixture of the Debian package tests: builds the package from the build tree with cpack
# into DIR, unpacks it with dpkg -x into DIR/root and keeps its control fields (DIR/control)
# and its member list (DIR/contents).
#
#   cmake -DCPACK=<cpack> -DCONFIG=<build>/CPackConfig.cmake -DDIR=<folder> -P build_package.cmake
cmake_minimum_required(VERSION 3.16)
foreach(variable CPACK CONFIG DIR)
    if(NOT ${variable})
        message(FATAL_ERROR "build_package.cmake: ${variable} is not set")
    endif()
endforeach()

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        string(REPLACE ";" " " command "${ARGN}")
        message(FATAL_ERROR "${command} failed (${status}):\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE "${DIR}")
file(MAKE_DIRECTORY "${DIR}")
run("${CPACK}" -G DEB -B "${DIR}" --config "${CONFIG}")
file(REMOVE_RECURSE "${DIR}/_CPack_Packages")

file(GLOB packages "${DIR}/*.deb")
list(LENGTH packages count)
if(NOT count EQUAL 1)
    message(FATAL_ERROR "expected one .deb in ${DIR}, found ${count}: ${packages}")
endif()
message(STATUS "built ${packages}")

run(dpkg -x "${packages}" "${DIR}/root")
execute_process(COMMAND dpkg-deb -f "${packages}" OUTPUT_FILE "${DIR}/control" RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "dpkg-deb -f failed: ${status}")
endif()
execute_process(COMMAND dpkg-deb -c "${packages}" OUTPUT_FILE "${DIR}/contents" RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "dpkg-deb -c failed: ${status}")
endif()
