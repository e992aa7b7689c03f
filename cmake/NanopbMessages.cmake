# quorhdfs_nanopb_messages(TARGET FILE.proto...): runs nanopb's generator over the files at build time and adds
# what it writes to TARGET. The headers are included by their own name: #include "HdfsMessages.pb.h".
find_program(NANOPB_GENERATOR NAMES nanopb_generator.py nanopb_generator REQUIRED)

function(quorhdfs_nanopb_messages target)
    set(out ${CMAKE_CURRENT_BINARY_DIR}/messages)
    file(MAKE_DIRECTORY ${out})
    foreach(proto IN LISTS ARGN)
        get_filename_component(name ${proto} NAME_WE)
        get_filename_component(directory ${CMAKE_CURRENT_SOURCE_DIR}/${proto} DIRECTORY)
        add_custom_command(
            OUTPUT ${out}/${name}.pb.c ${out}/${name}.pb.h
            COMMAND ${NANOPB_GENERATOR} --quiet -I ${directory} -D ${out} ${name}.proto
            WORKING_DIRECTORY ${directory}
            DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${proto}
            VERBATIM)
        target_sources(${target} PRIVATE ${out}/${name}.pb.c ${out}/${name}.pb.h)
    endforeach()
    target_include_directories(${target} SYSTEM PUBLIC ${out})
    target_link_libraries(${target} PUBLIC nanopb::protobuf-nanopb-static)
endfunction()
