# Installs the build into an empty folder, moves it, builds the consumer against the moved tree and runs it.
# In: BUILD, WORK, SOURCE, TOOLCHAIN, EMULATOR, FLAGS, CONFIG, SAMPLE.

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGV}: ${result}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
file(RENAME ${WORK}/first ${WORK}/moved)

set(arguments -G Ninja -S ${SOURCE}/consumer -B ${WORK}/consumer -DCMAKE_BUILD_TYPE=${CONFIG}
    -DCMAKE_PREFIX_PATH=${WORK}/moved "-DCMAKE_CXX_FLAGS=${FLAGS}")
if(TOOLCHAIN)
    list(APPEND arguments -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} ${arguments})
run(${CMAKE_COMMAND} --build ${WORK}/consumer)

if(EMULATOR)
    # Windows looks for libraries beside the program.
    file(GLOB libraries ${WORK}/moved/bin/*.dll)
    file(COPY ${libraries} DESTINATION ${WORK}/consumer)
    set(suffix .exe)
else()
    file(GLOB_RECURSE package ${WORK}/moved/*/kivfile.pc)
    run(pkg-config --cflags --libs ${package})
    if(NOT output MATCHES "moved/")
        message(FATAL_ERROR "kivfile.pc does not follow the moved tree: ${output}")
    endif()
endif()

run(${EMULATOR} ${WORK}/consumer/consumer${suffix})
run(${EMULATOR} ${WORK}/moved/bin/kivfile${suffix} props ${SAMPLE})
if(NOT output MATCHES "Title: ")
    message(FATAL_ERROR "the installed tool printed: ${output}")
endif()
