#!/usr/bin/env python3
"""LAZ encoding against lazrs and laszip (PyPI) on the same records, in turn, on one thread each.

    bench_laz_encode.py BUILD_FOLDER [SCAN.las ...] [--rounds N]

Needs the packages of bench/requirements.txt. Without scans it makes a survey of a million points, as point formats
3 and 7. Reports medians of the processor time a point, bytes a point, and ratios to the faster peer. The peers get
the records in memory; laszip writes to memory.
"""

import argparse
import io
import statistics
import subprocess
import tempfile
import time
from pathlib import Path

import laspy
import laszip
import lazrs
import numpy as np


def survey(build, folder):
    """The sample as formats 7 and 3: colours and times in both."""
    path = folder / "format7.las"
    subprocess.run([build / "bin/sorvik", "make-sample", path, "--points", "1000000"], check=True)
    older = laspy.convert(laspy.read(path), point_format_id=3, file_version="1.2")
    older.write(folder / "format3.las")
    return [folder / "format3.las", path]


def timed(encode, points):
    """Nanoseconds of processor time and bytes, a point."""
    begin = time.process_time()
    size = encode()
    return (time.process_time() - begin) * 1e9 / points, size / points


def ours(build, scan):
    line = subprocess.run([build / "bin/laz_encode", scan, "1"], check=True, capture_output=True, text=True).stdout
    return tuple(map(float, line.split()))


def peers(scan):
    """Functions that compress the scan and give the number of bytes, by name."""
    las = laspy.read(scan)
    records = np.frombuffer(las.points.array, np.uint8)
    extra_bytes = las.header.point_format.num_extra_bytes
    vlr = lazrs.LazVlr.new_for_compression(las.header.point_format.id, extra_bytes, False)
    head = io.BytesIO()
    las.header.write_to(head)

    def with_lazrs():
        return len(lazrs.compress_points(vlr, records, False))

    def with_laszip():
        out = io.BytesIO()
        zipper = laszip.LasZipper(out, head.getvalue())
        begin = out.tell()
        zipper.compress(records)
        zipper.done()
        return out.tell() - begin

    return {"lazrs": with_lazrs, "laszip": with_laszip}, len(las.points)


def compare(build, scan, rounds):
    functions, points = peers(scan)
    taken = {name: [] for name in ["ours", *functions]}
    for _ in range(rounds):
        taken["ours"].append(ours(build, scan))
        for name, function in functions.items():
            taken[name].append(timed(function, points))
    times = {name: statistics.median(t for t, _ in runs) for name, runs in taken.items()}
    fastest = min(functions, key=times.get)
    print(f"{scan.name}: {points} points")
    for name, runs in taken.items():
        ratio = times[name] / times[fastest]
        print(f"  {name:8} {times[name]:8.1f} ns a point  {runs[-1][1]:8.4f} bytes  {ratio:6.2f} of {fastest}'s time")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=Path)
    parser.add_argument("scans", type=Path, nargs="*")
    parser.add_argument("--rounds", type=int, default=7)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        for scan in arguments.scans or survey(arguments.build, Path(folder)):
            compare(arguments.build, scan, arguments.rounds)


main()
