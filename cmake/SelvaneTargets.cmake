# Flags through one interface target, and the functions that define the libraries and their tests.

add_library(selvane_flags INTERFACE)
# No fused multiply-add and no reassociation: floors and truncations of coordinates decide by the last bit.
target_compile_options(selvane_flags INTERFACE
    -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${SELVANE_WARNINGS_AS_ERRORS}>:-Werror>)
# Where clang 14 defines a multiversioned function, callers in other files do not find it.
target_compile_definitions(selvane_flags INTERFACE $<$<CXX_COMPILER_ID:Clang>:SELVANE_NO_MULTIVERSIONING>)
if(SELVANE_SANITIZE)
    target_compile_options(selvane_flags INTERFACE
        -fsanitize=${SELVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(selvane_flags INTERFACE -fsanitize=${SELVANE_SANITIZE})
    # The resolvers of multiversioned functions run before the sanitizers' runtime is ready.
    target_compile_definitions(selvane_flags INTERFACE SELVANE_NO_MULTIVERSIONING)
endif()

# Armadillo takes seconds to parse; every target that uses it shares one precompiled header.
file(WRITE ${CMAKE_BINARY_DIR}/selvane_pch.cpp "#include <armadillo>\n")
add_library(selvane_pch OBJECT ${CMAKE_BINARY_DIR}/selvane_pch.cpp)
target_link_libraries(selvane_pch PRIVATE selvane_flags Selvane::Armadillo)
target_precompile_headers(selvane_pch PRIVATE <armadillo>)

# selvane_library(NAME [ARMADILLO] SOURCES a.cpp ... [PUBLIC target ...] [PRIVATE target ...])
#   PUBLIC: what the headers include; PRIVATE: what only the sources include.
#   ARMADILLO: some source includes the matrix library, so the precompiled header pays.
function(selvane_library name)
    cmake_parse_arguments(ARG "ARMADILLO" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    add_library(Selvane::${name} ALIAS ${name})
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/Libraries>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/selvane>)
    target_compile_features(${name} PUBLIC cxx_std_17)
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:selvane_flags>)
    if(ARG_ARMADILLO)
        target_precompile_headers(${name} REUSE_FROM selvane_pch)
    endif()
    install(TARGETS ${name} EXPORT SelvaneTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}/selvane)
endfunction()

# What the thread sanitizer has to see in every submission; ctest finds its tests by the label threads.
add_custom_target(thread_tests)

# selvane_test(NAME [ARMADILLO] [THREADS] SOURCES a_test.cpp ... LIBS target ...)
#   One executable of GoogleTest cases, each case a test of ctest.
#   THREADS: some of the cases start threads.
function(selvane_test name)
    if(NOT SELVANE_BUILD_TESTS)
        return()
    endif()
    cmake_parse_arguments(ARG "ARMADILLO;THREADS" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} selvane_flags GTest::gtest_main)
    if(ARG_ARMADILLO)
        target_precompile_headers(${name} REUSE_FROM selvane_pch)
    endif()
    set(labels)
    if(ARG_THREADS)
        set(labels LABELS threads)
        add_dependencies(thread_tests ${name})
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT 300 ENVIRONMENT "OPENBLAS_NUM_THREADS=1" ${labels})
endfunction()
