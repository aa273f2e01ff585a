# SPDX-License-Identifier: GPL-3.0-or-later
"""Maps that other programs write, read and written again, must come back to them as they were.

    python3 other_readers.py REWRITE_MAP

REWRITE_MAP reads one map and writes it as another. The others are mrcfile, gemmi's module and gemmi's program. Where a
part of them is missing the status is 77 and nothing is compared.
"""
import io
import itertools
import os
import shutil
import subprocess
import sys
import tempfile

try:
    import gemmi
    import mrcfile
    import numpy as np
except ImportError as missing:
    print(missing)
    sys.exit(77)
if shutil.which("gemmi") is None:
    print("the program gemmi is not there")
    sys.exit(77)

REWRITE = sys.argv[1]
MODES = [np.int8, np.int16, np.float32, np.uint16, np.float16]
VOXEL = (1.25, 2.0, 0.75)  # angstrom along x, y, z


def field(shape, kind):
    """Values that every mode holds exactly, other for each voxel in reach, indexed [x][y][z]."""
    return (np.arange(np.prod(shape)) * 37 % 101).astype(kind).reshape(shape)


def rewrite(source):
    target = source + ".again.mrc"
    subprocess.run([REWRITE, source, target], check=True)
    return target


def expect(holds, what):
    if not holds:
        sys.exit("differs: " + what)


def expect_same(target, values, place, what):
    """Holds a rewritten map against the field, by both readers."""
    report = io.StringIO()
    expect(mrcfile.validate(target, print_file=report), what + ", not valid: " + report.getvalue())
    with mrcfile.open(target) as file:
        expect(np.array_equal(np.transpose(file.data, (2, 1, 0)), values.astype(np.float32)), what + ", voxels")
        size = file.voxel_size
        expect(np.allclose([size.x, size.y, size.z], VOXEL, rtol=1e-6), what + ", voxel size")
        origin = file.header.origin
        expect(np.allclose([origin.x, origin.y, origin.z], place, atol=1e-4), what + ", place")
    grid = gemmi.read_ccp4_map(target).grid
    expect(np.array_equal(np.array(grid, copy=False), values.astype(np.float32)), what + ", voxels by gemmi")
    cell = [VOXEL[i] * values.shape[i] for i in range(3)] + [90.0] * 3
    expect(np.allclose(grid.unit_cell.parameters, cell, rtol=1e-6), what + ", cell by gemmi")
    shown = subprocess.run(["gemmi", "map", target], capture_output=True, text=True)
    expect(shown.returncode == 0, what + ", gemmi map: " + shown.stderr)


def write_by_mrcfile(path, values, order, **how):
    """order: the axes of columns, rows and sections, 1 is x."""
    stored = np.transpose(values, [axis - 1 for axis in reversed(order)])
    with mrcfile.new(path, **how) as file:
        file.set_data(np.ascontiguousarray(stored))
        header = file.header
        header.mapc, header.mapr, header.maps = order
        header.mx, header.my, header.mz = values.shape
        header.cella = tuple(VOXEL[i] * values.shape[i] for i in range(3))
        header.ispg = 1


def compare_orders_modes_and_compression(folder):
    for kind, order in itertools.product(MODES, itertools.permutations((1, 2, 3))):
        for compression in (None, "gzip"):
            what = f"{np.dtype(kind)} {order} {compression}"
            path = os.path.join(folder, "mrcfile.map")
            values = field((4, 7, 5), kind)
            write_by_mrcfile(path, values, order, overwrite=True, compression=compression)
            expect_same(rewrite(path), values, (0, 0, 0), what)


def compare_places(folder):
    values = field((6, 3, 8), np.float32)
    path = os.path.join(folder, "placed.map")
    write_by_mrcfile(path, values, (3, 1, 2), overwrite=True)
    with mrcfile.open(path, "r+") as file:
        file.header.nxstart, file.header.nystart, file.header.nzstart = (4, -10, 20)  # of columns, rows, sections
    expect_same(rewrite(path), values, (-10 * VOXEL[0], 20 * VOXEL[1], 4 * VOXEL[2]), "start words")
    with mrcfile.open(path, "r+") as file:
        file.header.origin = (3.0, -4.25, 100.0)
    expect_same(rewrite(path), values, (3.0, -4.25, 100.0), "ORIGIN words")
    with mrcfile.open(path, "r+") as file:
        file.set_extended_header(np.zeros(333, dtype="V1"))
    expect_same(rewrite(path), values, (3.0, -4.25, 100.0), "extended header")


def compare_byte_orders(folder):
    values = field((5, 6, 7), np.float32)
    path = os.path.join(folder, "order.map")
    write_by_mrcfile(path, values, (1, 2, 3), overwrite=True)
    with open(path, "rb") as file:
        content = bytearray(file.read())
    words = np.frombuffer(bytes(content), "<u4").astype(">u4").tobytes()
    content[:208] = words[:208]
    content[212:216] = b"\x11\x11\0\0"
    content[1024:] = words[1024:]
    with open(path, "wb") as file:
        file.write(content)
    with mrcfile.open(path) as file:
        expect(np.array_equal(np.transpose(file.data, (2, 1, 0)), values), "the swapped file itself")
    expect_same(rewrite(path), values, (0, 0, 0), "big endian")


def compare_gemmi(folder):
    for mode in (0, 1, 2):
        values = field((8, 6, 10), np.float32)
        ccp4 = gemmi.Ccp4Map()
        ccp4.grid = gemmi.FloatGrid(values)
        ccp4.grid.set_unit_cell(gemmi.UnitCell(*[VOXEL[i] * values.shape[i] for i in range(3)], 90, 90, 90))
        ccp4.grid.spacegroup = gemmi.SpaceGroup("P1")
        ccp4.update_ccp4_header(mode, True)
        path = os.path.join(folder, "gemmi.ccp4")
        ccp4.write_ccp4_map(path)
        expect_same(rewrite(path), values, (0, 0, 0), f"gemmi's mode {mode}")


with tempfile.TemporaryDirectory() as scratch:
    compare_orders_modes_and_compression(scratch)
    compare_places(scratch)
    compare_byte_orders(scratch)
    compare_gemmi(scratch)
print("all came back as they were")
