# Builds for 64-bit Windows with MinGW-w64 on Linux.
#
# QUORHDFS_WINDOWS_LIBRARIES: folders, each the root of one library that tools/windows-dependencies has built. When it is
# not set, that tool is asked; an empty list means none, which is how it builds the libraries themselves.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The variant with POSIX threads, whichever the plain names stand for: std::thread and std::mutex need it.
set(mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${mingw}-windres)

# Nothing of GCC's own has to be there on the user's machine.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

if(NOT DEFINED QUORHDFS_WINDOWS_LIBRARIES)
    execute_process(
        COMMAND ${CMAKE_CURRENT_LIST_DIR}/../../tools/windows-dependencies --list
        OUTPUT_VARIABLE folders
        RESULT_VARIABLE failed
        OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(failed)
        message(FATAL_ERROR "The libraries for Windows are not there yet: tools/windows-dependencies builds them")
    endif()
    string(REPLACE "\n" ";" folders "${folders}")
    set(QUORHDFS_WINDOWS_LIBRARIES "${folders}" CACHE STRING "The libraries for Windows" FORCE)
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUORHDFS_WINDOWS_LIBRARIES)

# Programs that run during the build are this machine's, everything else is Windows' only.
set(CMAKE_FIND_ROOT_PATH /usr/${mingw} ${QUORHDFS_WINDOWS_LIBRARIES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
