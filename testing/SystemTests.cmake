# Tests that are for one system only, each with the reason; all others are built and run on every system.
#
# What is not run on the system that we build for stands, with the reasons, in the build's left-out-tests.txt.
set(report ${CMAKE_BINARY_DIR}/left-out-tests.txt)
file(REMOVE ${report})

# quorhdfs_tests_for(POSIX|WINDOWS NAME... REASON TEXT): the tests are for this system. A name is that of a source from
# the top of the tree, or of tests that the other system's build does not add.
function(quorhdfs_tests_for system)
    if(WIN32)
        set(our_system WINDOWS)
    else()
        set(our_system POSIX)
    endif()
    if(system STREQUAL our_system)
        return()
    endif()
    cmake_parse_arguments(PARSE_ARGV 1 tests "" REASON "")
    set_property(GLOBAL APPEND PROPERTY quorhdfs_left_out_tests ${tests_UNPARSED_ARGUMENTS})
    if(WIN32)
        file(READ ${CMAKE_SOURCE_DIR}/doc/windows.md documented)
        foreach(test IN LISTS tests_UNPARSED_ARGUMENTS)
            string(FIND "${documented}" "`${test}`" place)
            if(place EQUAL -1)
                message(FATAL_ERROR "doc/windows.md does not say why ${test} is not run")
            endif()
        endforeach()
    endif()
    list(JOIN tests_UNPARSED_ARGUMENTS "\n" names)
    file(APPEND ${report} "${names}\n    ${tests_REASON}\n")
endfunction()

quorhdfs_tests_for(POSIX host/core/MainUI_posix_test.cpp
    REASON "A device that is always full.")
quorhdfs_tests_for(POSIX dialog/HDFSFileDialogBookmarks_posix_test.cpp platform/UserFolders_posix_test.cpp
    REASON "The user's home is where $HOME says.")
quorhdfs_tests_for(POSIX dialog/HdfsFileSystemModelLocal_posix_test.cpp
    REASON "One root for all, links, names that are no text.")
quorhdfs_tests_for(POSIX platform/Settings_posix_test.cpp
    REASON "The INI file, its directory, and what can be written into it by hand.")
quorhdfs_tests_for(POSIX platform/Sockets_posix_test.cpp
    REASON "Signals, the low-water mark of receives, and a reset that is seen as an error.")
quorhdfs_tests_for(POSIX dialog/FileIcon_posix_test.cpp platform/ShellIcon_posix_test.cpp
    REASON "Icon themes.")
quorhdfs_tests_for(POSIX testing/cluster/LongReads_posix_test.cpp
    REASON "A signal stops a process and lets it go on.")
quorhdfs_tests_for(POSIX guided_tour marrowby_tests marrowby_transfers_test marrowby_browse_test marrowby_namenode_answers_test
    REASON "The host on the command line speaks to POSIX terminals, files and signals.")
quorhdfs_tests_for(POSIX private_hdfs_test
    REASON "The private HDFS is this machine's own, whoever reads from it.")

quorhdfs_tests_for(WINDOWS platform/LocalAddresses_windows_test.cpp
    REASON "The system is asked twice, first for the size.")
quorhdfs_tests_for(WINDOWS platform/Settings_windows_test.cpp plugin/ConnectionSetup_windows_test.cpp
    REASON "The registry, as `reg` sees it.")
quorhdfs_tests_for(WINDOWS platform/NoSystemQuestions_windows_test.cpp
    REASON "Only Windows asks for a disk.")
quorhdfs_tests_for(WINDOWS dialog/HdfsFileSystemModelLocal_windows_test.cpp dialog/HDFSFileDialogPlaces_windows_test.cpp
    REASON "Drive letters, shares, and names that other systems take.")
quorhdfs_tests_for(WINDOWS platform/Sockets_windows_test.cpp
    REASON "Sockets must be started.")
quorhdfs_tests_for(WINDOWS rpc/TcpSocket_windows_test.cpp
    REASON "Loopback has a short way that is asked for.")
quorhdfs_tests_for(WINDOWS platform/ShellIcon_windows_test.cpp
    REASON "The shell gives the icons, and what it gives must be given back.")
quorhdfs_tests_for(WINDOWS dialog/HDFSFileDialogBookmarks_windows_test.cpp platform/UserFolders_windows_test.cpp
    REASON "The registry says where the user's folders are.")
quorhdfs_tests_for(WINDOWS plugin/VersionResource_windows_test.cpp
    REASON "The library's properties as Windows shows them.")
quorhdfs_tests_for(WINDOWS platform/UniqueId_windows_test.cpp
    REASON "The system makes an identifier, and then a text of it.")
quorhdfs_tests_for(WINDOWS windows_library_test package_test
    REASON "The library and the archive for Windows.")

# quorhdfs_leave_out_tests_of_other_systems(LIST_NAME): takes the files that are not for the system we build for out of
# the list variable.
function(quorhdfs_leave_out_tests_of_other_systems list_name)
    get_property(left_out GLOBAL PROPERTY quorhdfs_left_out_tests)
    file(RELATIVE_PATH directory ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    set(kept)
    foreach(source IN LISTS ${list_name})
        if(NOT ${directory}/${source} IN_LIST left_out)
            list(APPEND kept ${source})
        endif()
    endforeach()
    set(${list_name} ${kept} PARENT_SCOPE)
endfunction()
