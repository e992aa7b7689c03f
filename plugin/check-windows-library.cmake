# Fails unless the library exports its entry points and nothing else, and imports from the system, Qt and the host's
# library alone: GCC's own run time has to be inside.
# Usage: cmake -D OBJDUMP=PROGRAM -D LIBRARY=FILE -P check-windows-library.cmake
cmake_minimum_required(VERSION 3.25)

set(wanted_exports qt_plugin_instance qt_plugin_query_metadata qt_plugin_query_verification_data)
set(possible_imports
    marrowbycore.dll qt5core.dll qt5gui.dll qt5widgets.dll
    advapi32.dll gdi32.dll iphlpapi.dll kernel32.dll msvcrt.dll ole32.dll rpcrt4.dll shell32.dll user32.dll ws2_32.dll)

execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)

set(exports)
string(FIND "${headers}" "[Ordinal/Name Pointer] Table" names)
if(NOT names EQUAL -1)
    string(SUBSTRING "${headers}" ${names} -1 table)
    string(FIND "${table}" "\n\n" end)
    string(SUBSTRING "${table}" 0 ${end} table)
    string(REGEX MATCHALL "\n[ \t]*\\[ *[0-9]+\\][^\n]*" lines "${table}")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE ".*[ \t]([^ \t]+)$" "\\1" name "${line}")
        list(APPEND exports ${name})
    endforeach()
    list(SORT exports)
endif()

set(others)
set(imports)
string(REGEX MATCHALL "DLL Name: [^\n]*" lines "${headers}")
foreach(line IN LISTS lines)
    string(REPLACE "DLL Name: " "" name "${line}")
    list(APPEND imports ${name})
    string(TOLOWER ${name} lower)
    if(NOT lower IN_LIST possible_imports)
        list(APPEND others ${name})
    endif()
endforeach()

# One without a name would not be in the list of names.
list(LENGTH wanted_exports wanted_count)
string(REGEX MATCHALL "\n[ \t]*\\[ *[0-9]+\\] \\+base[^\n]*" addresses "${headers}")
list(LENGTH addresses count)

message("exports: ${exports}")
message("imports: ${imports}")
if(NOT exports STREQUAL wanted_exports)
    message(FATAL_ERROR "It should export: ${wanted_exports}")
endif()
if(NOT count EQUAL wanted_count)
    message(FATAL_ERROR "It exports ${count} functions, with those that have no name")
endif()
if(NOT imports MATCHES "MarrowbyCore\\.dll")
    message(FATAL_ERROR "It should import MainUI from MarrowbyCore.dll")
endif()
if(others)
    message(FATAL_ERROR "It should not import from: ${others}")
endif()
