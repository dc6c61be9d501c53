# Runs the example and, at the same time, this script again to make what it shall see. Each step waits until the one
# before it has been printed.
#
#   cmake -D PROGRAM=... -D EMULATOR=... -D WORK=... -P DirectoryEventsTest.cmake
set(output ${WORK}/output.txt)

# Waits until a line that matches has been printed.
function(expect line)
    foreach(try RANGE 300)
        file(READ ${output} printed)
        if(printed MATCHES "(^|\n)${line}\r?\n")
            return()
        endif()
        execute_process(COMMAND ${CMAKE_COMMAND} -E sleep 0.1)
    endforeach()
    file(WRITE ${WORK}/tree/last "") # so that the program ends
    message(FATAL_ERROR "not printed: ${line}\n${printed}")
endfunction()

if(MAKE_EVENTS)
    expect("new directory: tree")
    file(MAKE_DIRECTORY ${WORK}/tree/new)
    expect("new directory: tree[/\\]new")
    file(MAKE_DIRECTORY ${WORK}/tree/new/deep)
    expect("new directory: tree[/\\]new[/\\]deep")
    file(WRITE ${WORK}/tree/new/deep/file "1")
    expect("new file: tree[/\\]new[/\\]deep[/\\]file")
    file(APPEND ${WORK}/tree/new/deep/file "2")
    expect("changed file: tree[/\\]new[/\\]deep[/\\]file")
    file(RENAME ${WORK}/tree/new/deep ${WORK}/tree/moved)
    expect("gone: tree[/\\]new[/\\]deep")
    expect("new directory: tree[/\\]moved")
    if(NOT EMULATED) # Wine does not see what a directory holds when it appears, and goes on with the names before a move
        file(REMOVE ${WORK}/tree/moved/file)
        expect("gone: tree[/\\]moved[/\\]file")
        file(MAKE_DIRECTORY ${WORK}/tree/a/b/c)
        expect("new directory: tree[/\\]a[/\\]b[/\\]c")
    endif()
    file(WRITE ${WORK}/tree/last "")
else()
    file(REMOVE_RECURSE ${WORK})
    file(MAKE_DIRECTORY ${WORK}/tree/old)
    file(WRITE ${output} "")
    execute_process(
        COMMAND ${CMAKE_COMMAND} -D MAKE_EVENTS=ON -D EMULATED=${EMULATOR} -D WORK=${WORK} -P ${CMAKE_CURRENT_LIST_FILE}
        COMMAND ${EMULATOR} ${PROGRAM} tree last
        WORKING_DIRECTORY ${WORK}
        OUTPUT_FILE ${output}
        RESULTS_VARIABLE results
        TIMEOUT 120)
    if(NOT results STREQUAL "0;0")
        message(FATAL_ERROR "ended with ${results}")
    endif()
    file(READ ${output} printed)
    if(printed MATCHES "old" OR NOT printed MATCHES "new file: tree.last\r?\n")
        message(FATAL_ERROR "printed:\n${printed}")
    endif()
endif()
