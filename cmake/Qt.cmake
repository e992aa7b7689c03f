# The Qt that the library is built against, behind names that are the same for both: QuorQt::Core, QuorQt::Widgets.
#
# QUORHDFS_QT: 5, which every test runs with, or 4 for the host's own Qt 4.8: its qmake must be on the PATH, or named
# by QT_QMAKE_EXECUTABLE.
set(QUORHDFS_QT 5 CACHE STRING "The Qt to build against: 5, or 4 for the host's own")
set_property(CACHE QUORHDFS_QT PROPERTY STRINGS 5 4)

add_library(QuorQt::Core INTERFACE IMPORTED GLOBAL)
add_library(QuorQt::Widgets INTERFACE IMPORTED GLOBAL)
if(QUORHDFS_QT EQUAL 4)
    if(QUORHDFS_TESTS OR QUORHDFS_BENCHMARKS)
        message(FATAL_ERROR "The tests and the benchmark need Qt 5: configure with -DQUORHDFS_TESTS=OFF")
    endif()
    find_package(Qt4 4.8 REQUIRED QtCore QtGui)
    target_link_libraries(QuorQt::Core INTERFACE Qt4::QtCore)
    target_link_libraries(QuorQt::Widgets INTERFACE Qt4::QtGui)
    set(QUORHDFS_QT_VERSION ${QT_VERSION_MAJOR}.${QT_VERSION_MINOR}.${QT_VERSION_PATCH})
else()
    find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Widgets)
    target_link_libraries(QuorQt::Core INTERFACE Qt5::Core)
    target_link_libraries(QuorQt::Widgets INTERFACE Qt5::Widgets)
    set(QUORHDFS_QT_VERSION ${Qt5Core_VERSION})
endif()

# quorhdfs_wrap_ui(VARIABLE FORM...): the headers that uic makes of the forms.
macro(quorhdfs_wrap_ui variable)
    if(QUORHDFS_QT EQUAL 4)
        qt4_wrap_ui(${variable} ${ARGN})
    else()
        qt5_wrap_ui(${variable} ${ARGN})
    endif()
endmacro()
