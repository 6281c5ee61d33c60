#!/usr/bin/env python3
"""Conversion against copc_converter on the same scan, run in turn on the same machine, and our encoder of nodes against
libbrotli on the nodes of that scan.

    scripts/bench_convert.py BUILD_FOLDER [--points N | --scan FILE.las] [--rounds N] [--peer PROGRAM] [--work FOLDER]
                             [--nodes-only]

Reports medians of whole processes: P = user and system time, W = wall time, peak memory, output bytes a point, and
ratios to the peer's; then the stages of the last runs, and sizes and times of the node encoder, attribute by attribute.
Without the peer there are no ratios, and the report says so.
"""

import argparse
import json
import os
import shutil
import statistics
import struct
import subprocess
import sys
import time
from collections import namedtuple
from pathlib import Path

Run = namedtuple("Run", "wall cpu peak_mib output_bytes points text")
Contender = namedtuple("Contender", "name command output points")

MEBIBYTE = 1 << 20


def las_points(path):
    """The number of points that a LAS or LAZ header states (ASPRS LAS 1.4 R15, table 3)."""
    header = Path(path).open("rb").read(375)
    if header[:4] != b"LASF":
        raise ValueError(f"{path} is no LAS file")
    points = struct.unpack_from("<I", header, 107)[0]
    if header[25] >= 4 and len(header) >= 255:
        points = struct.unpack_from("<Q", header, 247)[0] or points
    return points


def octree_points(folder):
    return json.loads((folder / "metadata.json").read_text())["points"]


def size_of(path):
    return sum(f.stat().st_size for f in path.rglob("*") if f.is_file()) if path.is_dir() else path.stat().st_size


def remove(path):
    if path.is_dir():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def run(contender, expected_points, log_path):
    """Runs a contender once, checks that it kept every point, and measures the process."""
    remove(contender.output)
    with log_path.open("wb") as log:
        begin = time.monotonic()
        process = subprocess.Popen(contender.command, stdout=log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.monotonic() - begin
        process.returncode = os.waitstatus_to_exitcode(status)
    text = log_path.read_text(errors="replace")
    if process.returncode != 0:
        raise RuntimeError(f"{contender.name} ended with {process.returncode}:\n{text[-2000:]}")
    points = contender.points(contender.output)
    if points != expected_points:
        raise RuntimeError(f"{contender.name} wrote {points} of {expected_points} points")
    return Run(wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, size_of(contender.output), points, text)


def contenders(build, scan, work, peer):
    """The peer first. It does not wait for the disk, so ours are compared without, too; the program itself does."""
    listed = []
    if peer:
        output = work / "peer.copc.laz"
        command = [peer, "--progress", "plain", "--temp-dir", work, scan, output]
        listed.append(Contender("copc_converter", command, output, las_points))
    for encoding in ("uncompressed", "brotli"):
        output = work / encoding
        switch = ["--uncompressed"] if encoding == "uncompressed" else []
        stages = [build / "bin/convert_stages", scan, output, *switch]
        listed.append(Contender(f"{encoding}, not synced", stages, output, octree_points))
        output = work / f"{encoding}-synced"
        program = [build / "bin/sorvik", "convert", scan, "-o", output, "--encoding", encoding]
        listed.append(Contender(f"{encoding}, synced", program, output, octree_points))
    return listed


def median(runs, field):
    return statistics.median(getattr(run, field) for run in runs)


def report(all_runs, points):
    peer = all_runs.get("copc_converter")
    print(f"  {'':26} {'P cpu s':>9} {'W wall s':>9} {'peak MiB':>9} {'bytes/pt':>9} {'ns/pt':>7} {'P ratio':>8} {'W ratio':>8}")
    for name, runs in all_runs.items():
        cpu, wall = median(runs, "cpu"), median(runs, "wall")
        line = f"  {name:26} {cpu:9.2f} {wall:9.2f} {median(runs, 'peak_mib'):9.0f}"
        line += f" {median(runs, 'output_bytes') / points:9.2f} {cpu / points * 1e9:7.0f}"
        if peer:
            line += f" {cpu / median(peer, 'cpu'):8.3f} {wall / median(peer, 'wall'):8.3f}"
        print(line)
    if not peer:
        print("  NO RATIOS: copc_converter is missing; `cargo install copc_converter --root build/peers` needs rust 1.88")


def make_scan(build, points, work):
    scan = work / f"scan-{points}.las"
    if not scan.exists():
        partial = scan.with_suffix(".partial.las")
        subprocess.run([build / "bin/sorvik", "make-sample", partial, "--points", str(points), "--seed", "1"], check=True)
        partial.rename(scan)
    return scan


def parse(words):
    parser = argparse.ArgumentParser(prog="./dev bench convert")
    parser.add_argument("build", type=Path)
    parser.add_argument("--points", type=int, default=10_000_000, help="of the scan that is made; 10 million by default")
    parser.add_argument("--scan", type=Path, help="a LAS file to convert instead")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--peer", help="copc_converter; build/peers/bin or the path by default")
    parser.add_argument("--nodes-only", action="store_true", help="convert once, and measure the node encoder alone")
    parser.add_argument("--work", type=Path, help="folder for scan and outputs; BUILD_FOLDER/bench by default")
    return parser.parse_args(words)


def find_peer(arguments):
    places = [arguments.peer] if arguments.peer else [arguments.build.parent / "peers/bin/copc_converter", "copc_converter"]
    return next((found for found in map(shutil.which, map(str, places)) if found), None)


def compress_nodes(build, folder):
    subprocess.run([build / "bin/compress_nodes", folder], check=True)


def main_nodes(build, scan, work):
    output = work / "nodes"
    remove(output)
    subprocess.run([build / "bin/sorvik", "convert", scan, "-o", output], check=True)
    compress_nodes(build, output)
    remove(output)


def main(words):
    arguments = parse(words)
    work = (arguments.work or arguments.build / "bench").absolute()
    work.mkdir(parents=True, exist_ok=True)
    scan = (arguments.scan or make_scan(arguments.build, arguments.points, work)).absolute()
    if arguments.nodes_only:
        main_nodes(arguments.build.absolute(), scan, work)
        return
    points = las_points(scan)
    listed = contenders(arguments.build.absolute(), scan, work, find_peer(arguments))
    all_runs = {contender.name: [] for contender in listed}
    for _ in range(arguments.rounds):
        for contender in listed:
            all_runs[contender.name].append(run(contender, points, work / "log.txt"))
    print(f"{scan.name}: {points} points, medians of {arguments.rounds}, {os.cpu_count()} processors")
    report(all_runs, points)
    for name in ("uncompressed, not synced", "brotli, not synced"):
        print(all_runs[name][-1].text, end="")
    sys.stdout.flush()
    compress_nodes(arguments.build.absolute(), work / "brotli")
    for contender in listed:
        remove(contender.output)


if __name__ == "__main__":
    main(sys.argv[1:])
