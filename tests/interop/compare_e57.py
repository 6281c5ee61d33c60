"""compare_e57.py FOLDER FILE...: holds the points that were read of E57 files (FOLDER/NAME.points, see
make_e57_points.cpp) against what pye57 reads of them, point by point, poses applied."""

import sys
from pathlib import Path

import numpy as np
import pye57

RECORD = np.dtype([("xyz", "<f8", 3), ("scan", "<u4"), ("rgb", "<u2", 3)])
TOLERANCE = 1e-12  # of the largest coordinate: both round, in another order


def read_by_pye57(e57, scan):
    options = {"transform": True, "ignore_missing_fields": True}
    try:
        values = e57.read_scan(scan, colors=True, **options)
    except pye57.libe57.E57Exception:  # it has no room for colours beyond 255
        values = e57.read_scan(scan, **options)
    xyz = np.stack([values["cartesianX"], values["cartesianY"], values["cartesianZ"]], axis=1)
    colors = None
    if "colorRed" in values:
        colors = np.stack([values["colorRed"], values["colorGreen"], values["colorBlue"]], axis=1)
    return xyz, colors


def differences(path, points):
    e57 = pye57.E57(str(path))
    if points["scan"].size and points["scan"].max() >= e57.scan_count:
        yield f"scan {points['scan'].max()} of {e57.scan_count}"
    for scan in range(e57.scan_count):
        ours = points[points["scan"] == scan]
        xyz, colors = read_by_pye57(e57, scan)
        if len(ours) != len(xyz):
            yield f"scan {scan}: {len(ours)} points, expected {len(xyz)}"
            continue
        distance = np.abs(ours["xyz"] - xyz).max()
        if not distance <= TOLERANCE * max(1, np.abs(xyz).max()):
            yield f"scan {scan}: points are up to {distance} away"
        if colors is not None:
            if not np.array_equal(ours["rgb"], colors.astype(np.uint16) * 257):
                yield f"scan {scan}: colours differ"


def main(folder, paths):
    failed = False
    total = 0
    for path in map(Path, paths):
        points = np.fromfile(Path(folder) / (path.stem + ".points"), RECORD)
        total += len(points)
        for difference in differences(path, points):
            print(f"{path.name}: {difference}", file=sys.stderr)
            failed = True
    print(f"pye57 agrees on {total} points of {len(paths)} files" if not failed else "pye57 disagrees")
    sys.exit(1 if failed or total == 0 else 0)


main(sys.argv[1], sys.argv[2:])
