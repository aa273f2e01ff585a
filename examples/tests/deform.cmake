# SPDX-License-Identifier: GPL-3.0-or-later
# The deformed model lies as far from the model as was asked, atom by atom and without superposition; the distance asked
# for is mass-weighted and the one measured is not.
#   cmake -DBIN=... -DDIR=... -P deform.cmake
function(expect status)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL status)
        message(FATAL_ERROR "${ARGN} ended with ${result}, not ${status}:\n${output}")
    endif()
endfunction()

file(MAKE_DIRECTORY ${DIR})
expect(0 ${BIN}/selvane-example ${DIR} --voxel 5)
expect(0 ${BIN}/selvane-deform ${DIR}/model.pdb ${DIR}/deformed.pdb 2 2)
expect(0 ${BIN}/selvane-check ${DIR}/deformed.pdb ${DIR}/model.pdb 2.1)
expect(1 ${BIN}/selvane-check ${DIR}/deformed.pdb ${DIR}/model.pdb 1.9)
expect(1 ${BIN}/selvane-deform ${DIR}/model.pdb ${DIR}/deformed.pdb 0 2)
expect(1 ${BIN}/selvane-deform ${DIR}/model.pdb ${DIR}/deformed.pdb 2 1.5)
expect(1 ${BIN}/selvane-deform ${DIR}/none.pdb ${DIR}/deformed.pdb 2 2)
expect(1 ${BIN}/selvane-deform ${DIR}/model.pdb)
