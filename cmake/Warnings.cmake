# Our own targets compile without a warning; call quorhdfs_warnings(TARGET) for each of them.
function(quorhdfs_warnings target)
    target_compile_options(${target} PRIVATE
        $<$<COMPILE_LANG_AND_ID:CXX,GNU,Clang>:-Wall -Wextra -Werror=return-type>)
endfunction()
