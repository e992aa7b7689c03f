# quorhdfs_system_sources(TARGET NAME...): for each name adds NAME.h and that one of NAME_posix.cpp and NAME_windows.cpp
# behind it which is for the system that the target is built for.
include_guard(GLOBAL)

function(quorhdfs_system_sources target)
    if(WIN32)
        set(system windows)
    else()
        set(system posix)
    endif()
    foreach(name IN LISTS ARGN)
        target_sources(${target} PRIVATE ${name}.h ${name}_${system}.cpp)
    endforeach()
endfunction()
