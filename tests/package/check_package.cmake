# cmake -DSELVANE_BUILD=.. -DSELVANE_SOURCE=.. -DCONSUMER=.. -DWORK=.. -DCOMPILER=.. [-DSANITIZE=..] -P check_package.cmake

cmake_minimum_required(VERSION 3.21)
include(${CMAKE_CURRENT_LIST_DIR}/links.cmake)

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
run(${SELVANE_BUILD}/bin/selvane-example ${WORK}/example)
run(${WORK}/build/consumer ${WORK}/example/map.ccp4 ${WORK}/example/model.pdb ${WORK}/example/truth.pdb)

# An installation whose bin is in PATH is found without being told, also behind the bin of the build folder.
run(${CMAKE_COMMAND} -E env --unset=CMAKE_PREFIX_PATH "PATH=${SELVANE_BUILD}/bin:${WORK}/prefix/bin:$ENV{PATH}"
    ${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/by_path -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${flags})
load_cache(${WORK}/by_path READ_WITH_PREFIX found_ Selvane_DIR)
file(REAL_PATH ${WORK}/prefix prefix)
file(REAL_PATH "${found_Selvane_DIR}" package)
string(FIND "${package}" "${prefix}/" place)
if(NOT place EQUAL 0)
    message(FATAL_ERROR "with both in PATH, find_package found ${package} in place of ${prefix}")
endif()

# The page shows the very project that was built here.
foreach(file CMakeLists.txt main.cpp)
    file(READ ${CONSUMER}/${file} shown)
    string(REGEX REPLACE "^// SPDX[^\n]*\n" "" shown "${shown}")
    string(REGEX REPLACE "\n([^\n])" "\n    \\1" shown "    ${shown}")
    file(READ ${SELVANE_SOURCE}/docs/library.md page)
    string(FIND "${page}" "${shown}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "docs/library.md doesn't show ${CONSUMER}/${file}:\n${shown}")
    endif()
endforeach()
run(${WORK}/prefix/bin/selvane --help)
run(${WORK}/prefix/bin/selvane-fit --help)

# selvane is complete without the packages that the other program needs; of these only zlib is no mere header. What its
# libraries link themselves is no matter of this project.
find_program(READELF readelf)
if(READELF)
    execute_process(COMMAND ${READELF} -d ${WORK}/prefix/bin/selvane RESULT_VARIABLE status OUTPUT_VARIABLE libraries)
    if(NOT status EQUAL 0 OR NOT libraries MATCHES "libfftw3" OR libraries MATCHES "libz\\.so")
        message(FATAL_ERROR "selvane links:\n${libraries}")
    endif()
endif()

foreach(pattern bin/selvane bin/selvane-fit share/man/man1/selvane.1 share/man/man1/selvane-fit.1 share/doc/*/LICENSE include/selvane/Math/cGrid.h)
    file(GLOB found ${WORK}/prefix/${pattern})
    if(NOT found)
        message(FATAL_ERROR "nothing was installed as ${pattern}")
    endif()
endforeach()
file(GLOB_RECURSE tests RELATIVE ${WORK}/prefix ${WORK}/prefix/include/*test*)
if(tests)
    message(FATAL_ERROR "headers of tests were installed: ${tests}")
endif()

check_links(${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})
