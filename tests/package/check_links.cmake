# cmake -DROOT=.. -DWORK=.. -P check_links.cmake: the links of the documents under ROOT, after a trial of the check
# itself in WORK.

cmake_minimum_required(VERSION 3.21)
include(${CMAKE_CURRENT_LIST_DIR}/links.cmake)

file(REMOVE_RECURSE ${WORK})
file(WRITE ${WORK}/docs/page.md "# The [first] page, `a_b`!\n[up](../README.md#top-or) [self](#the-first-page-a_b)\n")
file(WRITE ${WORK}/README.md "# Top, or\n[1](docs/page.md) [2](docs/none.md) a[0] [3](docs/page.md#none) [4](https://a.b/c)\n")
find_broken_links(${WORK}/README.md broken)
set(expected "${WORK}/README.md: no file for the link docs/none.md"
    "${WORK}/README.md: no heading for the link docs/page.md#none")
if(NOT broken STREQUAL expected)
    message(FATAL_ERROR "broken links of the trial: ${broken}")
endif()
file(WRITE ${WORK}/docs/page.md "# The first page\n[up](../README.md#top) [self](#the-first-page)\n")
file(WRITE ${WORK}/README.md "# Top\n[1](docs/page.md)\n")
check_links(${WORK})
file(REMOVE_RECURSE ${WORK})

check_links(${ROOT})
