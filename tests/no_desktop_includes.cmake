# SPDX-License-Identifier: MIT
# Fails when a file in DIR includes desktop-only code: a shell/ header other than the
# conversion worker's, the parameter tree widget of params/, or a Qt Widgets or Qt GUI header. The command-line converter must
# build and run with QtCore alone.
file(GLOB_RECURSE files ${DIR}/*.h ${DIR}/*.cpp)
set(include_pattern "#[ \t]*include[ \t]*[<\"]")
foreach(f ${files})
    file(STRINGS ${f} shell_hits REGEX "${include_pattern}shell/")
    foreach(hit ${shell_hits})
        if(NOT hit MATCHES "shell/thread_binary_to_rinex\\.h")
            message(FATAL_ERROR "${f} includes desktop code: ${hit}")
        endif()
    endforeach()
    file(STRINGS ${f} widget_hits REGEX "${include_pattern}params/widget_")
    if(widget_hits)
        message(FATAL_ERROR "${f} includes desktop code: ${widget_hits}")
    endif()
    file(STRINGS ${f} qt_hits
         REGEX "${include_pattern}(QtWidgets|QtGui|QApplication|QGuiApplication|QWidget|QMainWindow|QDialog|QMessageBox|QFileDialog)[/>\"]")
    if(qt_hits)
        message(FATAL_ERROR "${f} includes Qt desktop headers: ${qt_hits}")
    endif()
endforeach()
if(NOT files)
    message(FATAL_ERROR "no source files in ${DIR}")
endif()
message(STATUS "no desktop include in ${DIR}")
