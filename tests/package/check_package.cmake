# cmake -DSELVANE_BUILD=.. -DCONSUMER=.. -DWORK=.. -DCOMPILER=.. [-DSANITIZE=..] -P check_package.cmake

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        string(REPLACE ";" " " command "${ARGN}")
        message(FATAL_ERROR "${command}\nended with ${status}:\n${output}")
    endif()
endfunction()

if(SANITIZE)
    set(flags "-fsanitize=${SANITIZE}")
endif()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${SELVANE_BUILD} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/prefix
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${flags})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/consumer)
run(${WORK}/prefix/bin/selvane --help)

foreach(pattern bin/selvane share/man/man1/selvane.1 share/doc/*/LICENSE include/selvane/Math/cGrid.h)
    file(GLOB found ${WORK}/prefix/${pattern})
    if(NOT found)
        message(FATAL_ERROR "nothing was installed as ${pattern}")
    endif()
endforeach()
file(GLOB_RECURSE tests RELATIVE ${WORK}/prefix ${WORK}/prefix/include/*test*)
if(tests)
    message(FATAL_ERROR "headers of tests were installed: ${tests}")
endif()
file(REMOVE_RECURSE ${WORK})
