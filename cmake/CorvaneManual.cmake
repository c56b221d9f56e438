# corvane_add_manual(program SOURCES source... LIBRARIES target... PAGES page.N.in... COMPLETION file)
# Makes and installs manual pages and the completion for bash, and the target `program`-manuals that
# makes them. SOURCES are a program that knows the tables of the help, and calls
# `Manual::print` (tools/manual) to fill the templates in PAGES and COMPLETION from them.
function(corvane_add_manual program)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPLETION" "SOURCES;LIBRARIES;PAGES")
    if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
        message(STATUS "No manual of ${program}: it is written by a program that cannot run here")
        return()
    endif()

    set(writer "${program}-manual")
    add_executable(${writer} ${arg_SOURCES} "${PROJECT_SOURCE_DIR}/tools/manual/Manual.cpp")
    target_include_directories(${writer} PRIVATE
        "${CMAKE_CURRENT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/tools/manual")
    target_compile_definitions(${writer} PRIVATE "CORVANE_VERSION=\"${PROJECT_VERSION}\"")
    target_link_libraries(${writer} PRIVATE corvane_build_options ${arg_LIBRARIES})

    set(folder "${CMAKE_CURRENT_BINARY_DIR}/manual")
    file(MAKE_DIRECTORY "${folder}")
    set(files "")
    foreach(template IN LISTS arg_PAGES arg_COMPLETION)
        if(template STREQUAL arg_COMPLETION)
            set(name "${program}")
            set(destination "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
        else()
            cmake_path(GET template STEM LAST_ONLY name)
            string(REGEX MATCH "[0-9]$" section "${name}")
            set(destination "${CMAKE_INSTALL_MANDIR}/man${section}")
        endif()
        add_custom_command(
            OUTPUT "${folder}/${name}"
            COMMAND ${writer} "${CMAKE_CURRENT_SOURCE_DIR}/${template}" > "${folder}/${name}"
            DEPENDS ${writer} "${template}"
            VERBATIM)
        if(CORVANE_INSTALL)
            install(FILES "${folder}/${name}" DESTINATION "${destination}" COMPONENT tools)
        endif()
        list(APPEND files "${folder}/${name}")
    endforeach()
    add_custom_target(${program}-manuals ALL DEPENDS ${files})
endfunction()
