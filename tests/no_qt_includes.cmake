# SPDX-License-Identifier: MIT
file(GLOB_RECURSE files ${DIR}/*.h ${DIR}/*.cpp)
foreach(f ${files})
    file(STRINGS ${f} hits REGEX "#[ \t]*include[ \t]*[<\"](Q|qt)")
    if(hits)
        message(FATAL_ERROR "${f} includes Qt: ${hits}")
    endif()
endforeach()
message(STATUS "no Qt include in ${DIR}")
