# The external libraries, each behind one imported target.

find_package(Threads REQUIRED)
find_package(Armadillo REQUIRED)
find_package(Eigen3 3.3 REQUIRED NO_MODULE)

add_library(selvane_armadillo INTERFACE)
target_include_directories(selvane_armadillo SYSTEM INTERFACE ${ARMADILLO_INCLUDE_DIRS})
target_link_libraries(selvane_armadillo INTERFACE ${ARMADILLO_LIBRARIES})
add_library(Selvane::Armadillo ALIAS selvane_armadillo)

# LAPACK and BLAS come from OpenBLAS, which also lets a program hold its threads to one.
find_library(SELVANE_OPENBLAS_LIBRARY NAMES openblas REQUIRED)
add_library(selvane_lapack INTERFACE)
target_link_libraries(selvane_lapack INTERFACE ${SELVANE_OPENBLAS_LIBRARY})
add_library(Selvane::Lapack ALIAS selvane_lapack)

find_path(SELVANE_FFTW_INCLUDE_DIR fftw3.h REQUIRED)
find_library(SELVANE_FFTW_LIBRARY NAMES fftw3 REQUIRED)
find_library(SELVANE_FFTW_SINGLE_LIBRARY NAMES fftw3f REQUIRED)
add_library(selvane_fftw INTERFACE)
target_include_directories(selvane_fftw SYSTEM INTERFACE ${SELVANE_FFTW_INCLUDE_DIR})
target_link_libraries(selvane_fftw INTERFACE ${SELVANE_FFTW_LIBRARY} ${SELVANE_FFTW_SINGLE_LIBRARY})
add_library(Selvane::Fftw ALIAS selvane_fftw)

find_path(SELVANE_TCLAP_INCLUDE_DIR tclap/CmdLine.h REQUIRED)
add_library(selvane_tclap INTERFACE)
target_include_directories(selvane_tclap SYSTEM INTERFACE ${SELVANE_TCLAP_INCLUDE_DIR})
add_library(Selvane::Tclap ALIAS selvane_tclap)

# For selvane-fit alone; the program selvane links none of them.
find_package(ZLIB REQUIRED)

find_path(SELVANE_GEMMI_INCLUDE_DIR gemmi/model.hpp REQUIRED)
add_library(selvane_gemmi INTERFACE)
target_include_directories(selvane_gemmi SYSTEM INTERFACE ${SELVANE_GEMMI_INCLUDE_DIR})
target_compile_definitions(selvane_gemmi INTERFACE USE_STD_SNPRINTF) # Debian has no copy of the other one
add_library(Selvane::Gemmi ALIAS selvane_gemmi)

find_path(SELVANE_CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
add_library(selvane_cli11 INTERFACE)
target_include_directories(selvane_cli11 SYSTEM INTERFACE ${SELVANE_CLI11_INCLUDE_DIR})
add_library(Selvane::Cli11 ALIAS selvane_cli11)

find_path(SELVANE_JSON_INCLUDE_DIR nlohmann/json.hpp REQUIRED)
add_library(selvane_json INTERFACE)
target_include_directories(selvane_json SYSTEM INTERFACE ${SELVANE_JSON_INCLUDE_DIR})
add_library(Selvane::Json ALIAS selvane_json)

install(TARGETS selvane_armadillo selvane_lapack selvane_fftw selvane_tclap selvane_gemmi selvane_cli11 selvane_json EXPORT SelvaneTargets)
