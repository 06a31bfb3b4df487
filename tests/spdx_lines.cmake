# SPDX-License-Identifier: MIT
# Fails when a source file of the project lacks its licence line: every C++ file, CMake file
# and shell script names the MIT licence with an SPDX line at its top.
#   cmake -DROOT=<source folder> -P spdx_lines.cmake
set(missing "")
file(GLOB_RECURSE candidates RELATIVE ${ROOT}
     ${ROOT}/*.cpp ${ROOT}/*.h ${ROOT}/*.h.in ${ROOT}/CMakeLists.txt ${ROOT}/*.cmake ${ROOT}/*.sh)
list(APPEND candidates .ci/run)
foreach(file ${candidates})
    if(file MATCHES "^(build|\\.git)" OR file MATCHES "/build[^/]*/" OR file MATCHES "^build")
        continue()
    endif()
    file(READ ${ROOT}/${file} head LIMIT 400)
    if(NOT head MATCHES "SPDX-License-Identifier: MIT")
        list(APPEND missing ${file})
    endif()
endforeach()
if(missing)
    string(REPLACE ";" "\n  " missing "${missing}")
    message(FATAL_ERROR "source files without an SPDX-License-Identifier line:\n  ${missing}")
endif()
