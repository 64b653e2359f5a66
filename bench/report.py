#!/usr/bin/env python3
"""Runs the benchmarks and writes docs/performance.md, or compares a new run with the ratios on that page.

The page and the comparison use ratios within one run: each thing beside the least that any program must do for it, or beside
another library that does the same, with the repetitions of both in random order. Times alone say more about the machine.
"""
import argparse
import datetime
import json
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE = ROOT / "docs/performance.md"
PICTURE = ROOT / "docs/pictures/restore.svg"
TOLERANCE = 1.25


class Row(NamedTuple):
    """One thing that costs time, beside what it is measured against."""
    title: str
    program: str
    own: str
    peer: str
    rest: str


ROWS = [
    Row("signature of a GET, beside Qt's signer", "bench_signing", "get/VqOAuthWrapper", "get/QOAuth1Signature", ""),
    Row("signature of a GET, beside liboauth", "bench_signing", "get/VqOAuthWrapper", "get/liboauth", ""),
    Row("signature of a form, beside Qt's signer", "bench_signing", "post/VqOAuthWrapper", "post/QOAuth1Signature", ""),
    Row("`SignRequest`, beside the signature alone", "bench_sign_request", "one thread/SignRequest", "one thread/signature",
        "four secrets are decrypted; locks; a look at the login state file"),
    Row("the same on 32 threads, CPU time of a call", "bench_sign_request", "32 threads/SignRequest", "32 threads/signature",
        "the same"),
    Row("`vqws_sign_request`, beside the C++ operation", "bench_c_interface", "SignRequest/C", "SignRequest/C++", ""),
    Row("query of a flag of other processes that is set, beside lock and copy of a shared memory", "bench_process_state",
        "query of a set flag/library", "query of a set flag/lock and copy",
        "two locks instead of one, whose names are checked; a look whether the other process lives"),
    Row("query of a flag that is not set", "bench_process_state", "query of a flag that is not set/library",
        "query of a flag that is not set/lock and copy", "two locks, whose names are checked"),
    Row("a flag set and deleted", "bench_process_state", "set and delete/library", "set and delete/lock and copy",
        "two changes, each with both locks, a look at the block and a write of the records"),
    Row("save of 20 products, beside parsing, changing and writing of the file", "bench_save",
        "20 own products of 20/library", "20 own products of 20/plain",
        "the lock; the merge with what other processes wrote; a check that the new text can be read"),
    Row("save of one product of 20", "bench_save", "one own product of 20/library", "one own product of 20/plain", "the same"),
    Row("start with 1 product in the file, beside parsing of the file", "bench_restore", "restore 1/library", "restore 1/plain",
        "one decryption by the user's key, for the check of the machine"),
    Row("start with 100 products", "bench_restore", "restore 100/library", "restore 100/plain", "the objects of the products"),
    Row("start with 1,000 products", "bench_restore", "restore 1000/library", "restore 1000/plain", "the same"),
]
GROWTH = [1, 100, 500, 1000]
HEAD = """# Performance

What things cost, as ratios within one run: the first column beside the least that any program must do for it, or beside another library.
The times are those of one machine and tell the order of magnitude. `tools/bench --report` measures again and writes this page;
`tools/bench --compare` measures and names each ratio that is more than a quarter worse than here.

Measured on {date}: {machine}.

| What | Time | Ratio | What the rest is spent on |
|---|---|---|---|
"""


def times_of(program: pathlib.Path) -> dict[str, float]:
    """The median time of each benchmark of a program, in microseconds: CPU time, or real time where it waits for a disk."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        # A program whose goal is not met ends with 1, and has measured all the same.
        subprocess.run([program, f"--benchmark_out={out.name}", "--benchmark_out_format=json"], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        runs = json.loads(pathlib.Path(out.name).read_text(encoding="utf-8"))["benchmarks"]
    factors = {"ns": 1e-3, "us": 1.0, "ms": 1e3}
    times = {}
    for run in runs:
        if run.get("aggregate_name") == "median":
            kind = "real_time" if "/real_time" in run["run_name"] else "cpu_time"
            name = re.sub(r"/(real_time|threads:\d+)", "", run["run_name"])
            times[name] = run[kind] * factors[run["time_unit"]]
    return times


def measure(binaries: pathlib.Path) -> dict[str, dict[str, float]]:
    return {program: times_of(binaries / program) for program in sorted({row.program for row in ROWS})}


def slow_line(binaries: pathlib.Path) -> dict[str, float]:
    said = subprocess.run([ROOT / "bench/slow_line.py", "--binaries", binaries], check=True, capture_output=True, text=True)
    return {name: float(value) for value, name in re.findall(r"^\s*([\d.]+)  (.+)$", said.stdout, re.M)}


def shown(microseconds: float) -> str:
    value, unit = (microseconds, "us") if microseconds < 1000 else (microseconds / 1000, "ms")
    return f"{value:.3g} {unit}"


def main_thread(binaries: pathlib.Path) -> list[tuple[str, str, str, str]]:
    """What the calls of a main thread take: condition, call, median and the 999th of 1,000, in ms."""
    said = subprocess.run([ROOT / "bench/main_thread.py", "--library", binaries / "libvqws.so.1"], check=True, capture_output=True,
                          text=True).stdout
    rows, condition = [], ""
    for line in said.splitlines():
        values = line.split(maxsplit=4)
        if not line.startswith(" "):
            condition = line
        elif values[0] != "median":
            rows.append((condition, values[4], values[0], values[2]))
    return rows


def machine() -> str:
    model = re.search(r"^model name\s*: (.+)$", pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"), re.M)
    cores = subprocess.run(["nproc"], check=True, capture_output=True, text=True).stdout.strip()
    return f"{model.group(1) if model else platform.machine()}, {cores} cores, {platform.system()}"


def picture(points: list[tuple[int, float]]) -> str:
    """A plot of time by the number of products, without any program but this one."""
    width, height, left, bottom = 480, 260, 60, 40
    top = max(value for _, value in points)
    place = [(left + x / points[-1][0] * (width - left - 20), height - bottom - y / top * (height - bottom - 20)) for x, y in points]
    marks = "".join(
        f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3"/><text x="{x:.1f}" y="{y - 8:.1f}" text-anchor="end">{shown(value)}</text>'
        f'<text x="{x:.1f}" y="{height - bottom + 16}" text-anchor="middle">{count}</text>'
        for (x, y), (count, value) in zip(place, points))
    line = " ".join(f"{x:.1f},{y:.1f}" for x, y in place)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="12">'
            f'<rect width="{width}" height="{height}" fill="white"/>'
            f'<path d="M{left},20V{height - bottom}H{width - 20}" fill="none" stroke="black"/>'
            f'<polyline points="{line}" fill="none" stroke="black"/>{marks}'
            f'<text x="{width / 2}" y="{height - 6}" text-anchor="middle">products in the file</text></svg>\n')


def write_page(times: dict[str, dict[str, float]], line: dict[str, float], calls: list[tuple[str, str, str, str]]):
    text = HEAD.format(date=datetime.date.today().isoformat(), machine=machine())
    for row in ROWS:
        own, peer = times[row.program][row.own], times[row.program][row.peer]
        text += f"| {row.title} | {shown(own)} | {own / peer:.2f} | {row.rest} |\n"
    text += ("\n## Growth\n\nA new process reads the login state file, by the number of products in it:\n\n"
             "![time by products](pictures/restore.svg)\n\n## A slow line\n\nTwo products in two processes, an account server with "
             "100 ms each way (medians of five runs):\n\n| What | Figure |\n|---|---|\n")
    text += "".join(f"| {name} | {value:g} |\n" for name, value in line.items())
    text += ("\n## A main thread\n\nWhat the calls of a user interface take, by the clock, alone and while eight other processes of the user "
             "save,\nrenew tokens and raise events once a second. The first row of each is a system call that does nothing: what the machine "
             "itself takes,\nsince nine processes share its cores.\n\n| | Call | Median, ms | 999 of 1,000 within, ms |\n|---|---|---|---|\n")
    text += "".join(f"| {condition} | {call} | {median} | {slow} |\n" for condition, call, median, slow in calls)
    PAGE.write_text(text, encoding="utf-8")
    PICTURE.write_text(picture([(count, times["bench_restore"][f"restore {count}/library"]) for count in GROWTH]), encoding="utf-8")
    print(text)


def compare(runs: list[dict[str, dict[str, float]]]) -> int:
    """How many ratios are worse than on the page, by the median of some runs."""
    known = {title: float(ratio) for title, ratio in
             re.findall(r"^\| (.+?) \| [\d.e+]+ (?:us|ms) \| ([\d.]+) \|", PAGE.read_text(encoding="utf-8"), re.M)}
    worse = 0
    for row in ROWS:
        ratio = statistics.median(times[row.program][row.own] / times[row.program][row.peer] for times in runs)
        is_worse = row.title in known and ratio > known[row.title] * TOLERANCE
        worse += is_worse
        print(f"{ratio:6.2f}  (page: {known.get(row.title, 'new')})  {'WORSE  ' if is_worse else ''}{row.title}")
    return worse


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("mode", choices=("report", "compare"))
    parser.add_argument("--binaries", type=pathlib.Path, default=ROOT / "build/linux-release/bin")
    options = parser.parse_args()
    if options.mode == "report":
        write_page(measure(options.binaries), slow_line(options.binaries), main_thread(options.binaries))
        return 0
    return 1 if compare([measure(options.binaries) for _ in range(3)]) else 0


if __name__ == "__main__":
    sys.exit(main())
