"""compare_laz.py FOLDER: reads every pair NAME.las, NAME.laz with laspy and lazrs and compares headers and records.
Files whose name begins with old-formatN are of LAS 1.2 and point format N."""

import re
import sys
from pathlib import Path

import laspy


def differences(las_path, laz_path):
    las = laspy.read(las_path)
    laz = laspy.read(laz_path, laz_backend=laspy.LazBackend.Lazrs)
    if not laspy.open(laz_path).header.are_points_compressed:
        yield "the points are not compressed"
    old = re.match(r"old-format(\d)", las_path.stem)
    if old and (str(las.header.version), las.header.point_format.id) != ("1.2", int(old[1])):
        yield f"LAS {las.header.version}, point format {las.header.point_format.id}, expected 1.2 and {old[1]}"
    for fact in ("point_count", "scales", "offsets", "mins", "maxs"):
        if str(getattr(las.header, fact)) != str(getattr(laz.header, fact)):
            yield f"{fact}: {getattr(laz.header, fact)}, expected {getattr(las.header, fact)}"
    if las.points.array.dtype != laz.points.array.dtype:
        yield f"dimensions: {laz.points.array.dtype}, expected {las.points.array.dtype}"
    if las.points.array.tobytes() != laz.points.array.tobytes():
        yield "the records differ"


def main(folder):
    pairs = sorted(Path(folder).glob("*.las"))
    if not pairs:
        sys.exit(f"{folder}: no pairs")
    failed = False
    for las_path in pairs:
        for difference in differences(las_path, las_path.with_suffix(".laz")):
            print(f"{las_path.stem}: {difference}", file=sys.stderr)
            failed = True
    print(f"laspy and lazrs read {len(pairs)} files")
    sys.exit(1 if failed else 0)


main(sys.argv[1])
