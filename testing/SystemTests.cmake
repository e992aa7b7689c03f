# Tests that are for one system only, each with the reason; all others are built and run on every system.
#
# quorhdfs_leave_out_tests_of_other_systems(LIST_NAME): takes the files that are not for the system we build for out of
# the list variable.
function(quorhdfs_leave_out_tests_of_other_systems list_name)
    set(posix_only_tests
        # A device that is always full.
        host/core/MainUI_posix_test.cpp
        # The user's home is where $HOME says.
        dialog/HDFSFileDialogBookmarks_posix_test.cpp
        # One root for all, links, names that are no text.
        dialog/HdfsFileSystemModelLocal_posix_test.cpp
        # The INI file, its directory, and what can be written into it by hand.
        platform/Settings_posix_test.cpp
        # Signals interrupt calls and end programs; a receive may wait for a low-water mark; a reset is an error. (Wine,
        # where the tests for Windows run, shows it as the end of the connection.)
        platform/Sockets_posix_test.cpp
        # Icon themes.
        dialog/FileIcon_posix_test.cpp
        platform/ShellIcon_posix_test.cpp
        # A signal stops a process and lets it go on.
        testing/cluster/LongReads_posix_test.cpp)
    set(windows_only_tests
        # The system is asked twice, first for the size.
        platform/LocalAddresses_windows_test.cpp
        # The registry, as `reg` sees it.
        platform/Settings_windows_test.cpp
        plugin/ConnectionSetup_windows_test.cpp
        # Sockets must be started.
        platform/Sockets_windows_test.cpp
        # The system makes an identifier, and then a text of it.
        platform/UniqueId_windows_test.cpp)

    if(WIN32)
        set(others ${posix_only_tests})
    else()
        set(others ${windows_only_tests})
    endif()
    file(RELATIVE_PATH directory ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    set(kept)
    foreach(source IN LISTS ${list_name})
        if(NOT ${directory}/${source} IN_LIST others)
            list(APPEND kept ${source})
        endif()
    endforeach()
    set(${list_name} ${kept} PARENT_SCOPE)
endfunction()
