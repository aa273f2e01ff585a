# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs selvane-fit on the example and holds summary.json against its schema, and poses.csv, the poses and the assembly
against the summary.

    check_summary.py SELVANE-EXAMPLE SELVANE-FIT SCHEMA
"""

import csv
import hashlib
import json
import pathlib
import subprocess
import sys
import tempfile

import gemmi
import jsonschema
import numpy


def positions(path):
    model = gemmi.read_structure(str(path))[0]
    return numpy.array([cra.atom.pos.tolist() for cra in model.all()])


def check(example, fit, schema_path):
    folder = pathlib.Path(tempfile.mkdtemp(prefix="selvane-summary-"))
    subprocess.run([example, folder, "--noise", "0.3"], check=True, stdout=subprocess.DEVNULL)
    out = folder / "out"
    command = [fit, folder / "map.ccp4", folder / "model.pdb", "-r", "10", "-o", out, "--copies", "2", "--poses", "4",
               "--hand", "both", "--quiet", "--step", "30"]
    verdict = subprocess.run(command, check=True, capture_output=True, text=True).stdout

    summary = json.loads((out / "summary.json").read_text())
    schema = json.loads(pathlib.Path(schema_path).read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    jsonschema.Draft202012Validator(schema).validate(summary)

    assert summary["reason"] in verdict and summary["confidence"] in verdict, verdict
    assert summary["hand"] == "given", summary["hand"]
    for part in ("map", "model"):
        with open(summary[part]["path"], "rb") as file:
            assert hashlib.sha256(file.read()).hexdigest() == summary[part]["sha256"], part
    model = positions(folder / "model.pdb")
    assert summary["model"]["atoms"] == len(model)
    middle = model - model.mean(axis=0)
    assert abs(summary["model"]["radius_of_gyration"] - numpy.sqrt((middle**2).sum(axis=1).mean())) < 1e-3
    header = gemmi.read_ccp4_map(str(folder / "map.ccp4"))
    assert summary["map"]["voxels"] == [header.header_i32(word) for word in (1, 2, 3)]

    poses = summary["poses"]
    with open(out / "poses.csv", newline="") as file:
        rows = list(csv.DictReader(file))
    assert len(rows) == len(poses) >= 4
    previous = None
    for rank, (row, pose) in enumerate(zip(rows, poses), 1):
        assert pose["rank"] == rank == int(row["rank"])
        rotation = numpy.array(pose["rotation"])
        assert abs(rotation @ rotation.T - numpy.identity(3)).max() < 1e-9 and numpy.linalg.det(rotation) > 0
        for number in range(9):
            assert float(row[f"r{number // 3 + 1}{number % 3 + 1}"]) == rotation[number // 3][number % 3]
        for axis, name in enumerate("xyz"):
            assert float(row["t" + name]) == pose["translation"][axis]
        for name in ("local_correlation", "correlation", "z", "gap", "score", "mean_density", "inside"):
            assert float(row[name]) == pose[name], name
        assert previous is None or pose["local_correlation"] <= previous
        previous = pose["local_correlation"]
        if row["file"]:
            moved = model @ rotation.T + numpy.array(pose["translation"])
            assert abs(positions(out / row["file"]) - moved).max() < 2e-3, row["file"]
    assert [bool(row["file"]) for row in rows] == [rank <= 4 for rank in range(1, len(rows) + 1)]

    expected = numpy.concatenate([model @ numpy.array(poses[rank - 1]["rotation"]).T
                                  + numpy.array(poses[rank - 1]["translation"]) for rank in summary["copies"]])
    assembly = gemmi.read_structure(str(out / "assembly.pdb"))[0]
    assert abs(positions(out / "assembly.pdb") - expected).max() < 2e-3
    names = [chain.name for chain in assembly]
    assert len(set(names)) == len(names) == 2 * len(summary["copies"]), names
    truth = positions(folder / "truth.pdb")
    best = model @ numpy.array(poses[0]["rotation"]).T + numpy.array(poses[0]["translation"])
    assert numpy.sqrt(((best - truth) ** 2).sum(axis=1).mean()) < 0.2


if __name__ == "__main__":
    check(*sys.argv[1:])
