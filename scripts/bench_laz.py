#!/usr/bin/env python3
"""LAZ decoding against the readers that others use: processor time a point, on one thread.

usage: bench_laz.py BUILD_FOLDER [--points N] [--rounds N] [--work FOLDER]

Makes a scan of N points, has laspy write it as LAZ in point formats 3 and 7, and decodes both files by turns: ours
(laz_decode), lazrs and laszip, all to records in memory. Records must be equal. The least times of the rounds are
compared. What is needed from PyPI is installed into build/peers/laz by `./dev bench laz`.
"""

import argparse
import json
import subprocess
import sys
import time
from pathlib import Path

import laspy
import laszip
import lazrs
import numpy

FORMATS = {3: "1.2", 7: "1.4"}


def make_scans(build, points, work):
    """The same points in each format, as paths by format."""
    plain = work / f"scan-{points}.las"
    if not plain.exists():
        subprocess.run([build / "bin/sorvik", "make-sample", plain, "--points", str(points), "--seed", "1"], check=True)
    paths = {number: work / f"scan-{points}-format-{number}.laz" for number in FORMATS}
    if not all(path.exists() for path in paths.values()):
        scan = laspy.read(plain)
        for number, path in paths.items():
            laspy.convert(scan, point_format_id=number, file_version=FORMATS[number]).write(path)
    return paths


def fnv1a(data):
    """The hash that laz_decode prints."""
    value = 0xCBF29CE484222325
    for byte in data:
        value = (value ^ byte) * 0x100000001B3 & 0xFFFFFFFFFFFFFFFF
    return f"{value:016x}"


class Lazrs:
    name = "lazrs"

    def __init__(self, path, header):
        self.file = path.open("rb")
        self.header = header

    def decode(self, out):
        vlr = next(vlr for vlr in self.header.vlrs if vlr.record_id == 22204)
        self.file.seek(self.header.offset_to_point_data)
        lazrs.LasZipDecompressor(self.file, vlr.record_data_bytes()).decompress_many(memoryview(out))


class Laszip:
    name = "laszip"

    def __init__(self, path, header):
        self.file = path.open("rb")

    def decode(self, out):
        self.file.seek(0)
        laszip.LasUnZipper(self.file).decompress_into(out)


def measure(path, laz_decode, rounds):
    """Least nanoseconds a point by name, and how much faster two threads of ours are."""
    header = laspy.open(path).header
    out = numpy.zeros(header.point_count * header.point_format.size, dtype=numpy.uint8)
    peers = [Lazrs(path, header), Laszip(path, header)]
    best, two_threads = {}, 0
    for _ in range(rounds):
        answer = json.loads(subprocess.run([laz_decode, path, "1"], check=True, capture_output=True, text=True).stdout)
        best["ours"] = min(best.get("ours", 1e9), answer["ns"])
        two_threads = max(two_threads, answer["two_threads"])
        for peer in peers:
            begin = time.process_time()
            peer.decode(out)
            nanoseconds = (time.process_time() - begin) / header.point_count * 1e9
            best[peer.name] = min(best.get(peer.name, 1e9), nanoseconds)
    hashed = min(out.size, 1 << 22)
    if answer["hash_of_first"] != fnv1a(out[:hashed].tobytes()):
        raise RuntimeError(f"{path}: the records differ")
    return best, two_threads


def main(words):
    parser = argparse.ArgumentParser(prog="./dev bench laz")
    parser.add_argument("build", type=Path)
    parser.add_argument("--points", type=int, default=1_000_000)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--work", type=Path, help="folder for the scans; BUILD_FOLDER/bench by default")
    arguments = parser.parse_args(words)
    work = arguments.work or arguments.build / "bench"
    work.mkdir(parents=True, exist_ok=True)
    for number, path in make_scans(arguments.build, arguments.points, work).items():
        best, two_threads = measure(path, arguments.build / "bin/laz_decode", arguments.rounds)
        fastest = min(best["lazrs"], best["laszip"])
        print(f"format {number}: ns a point " + ", ".join(f"{name} {value:.0f}" for name, value in best.items()) +
              f"; ours takes {best['ours'] / fastest:.2f} of the faster; two threads {two_threads:.2f} times one")


if __name__ == "__main__":
    main(sys.argv[1:])
