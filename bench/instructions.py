"""Counts the instructions of the small cases with valgrind.

    instructions.py PROGRAMS RESULT [--accept]

PROGRAMS is the folder with the benchmark programs. instructions.txt, beside this file, names the
cases: program, benchmark and count, with tabs between. Writes the counts to RESULT for report.py.
--accept puts the new counts into instructions.txt, and then none has grown.

A benchmark runs a few times and then a hundred times more; the difference is the count, so that
what happens once does not matter. A program without a benchmark runs as it is.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys

TABLE = pathlib.Path(__file__).with_name("instructions.txt")
FEW, MORE = 10, 100
MAX_GROWTH = 1.05


def collected(command):
    valgrind = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]
    run = subprocess.run(valgrind + command, capture_output=True, text=True, check=False)
    found = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode != 0 or not found:
        sys.exit(f"bench: {' '.join(command)}: {run.stderr.strip()[-300:]}")
    return int(found[1])


def count(program, case):
    if program.startswith("bench_"):
        return collected([program_path(program)])
    runs = [collected([program_path(program), "--run", case, str(times)])
            for times in (FEW, FEW + MORE)]
    return (runs[1] - runs[0]) // MORE


def program_path(program):
    return str(pathlib.Path(sys.argv[1]) / program)


def main():
    cases = [line.split("\t") for line in TABLE.read_text().splitlines()]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        counts = list(pool.map(lambda case: count(case[0], case[1]), cases))
    rows = [{"name": case, "before": int(before), "limit": int(int(before) * MAX_GROWTH),
             "now": now}
            for (_, case, before), now in zip(cases, counts)]
    width = max(len(row["name"]) for row in rows)
    for row in rows:
        change = row["now"] / row["before"] - 1 if row["before"] else 0
        print(f"{row['name']:{width}}  {row['now']:>12,}  {change:+.1%}")
    if "--accept" in sys.argv:
        TABLE.write_text("".join(f"{program}\t{case}\t{now}\n"
                                 for (program, case, _), now in zip(cases, counts)))
        for row in rows:
            row["before"] = 0
    pathlib.Path(sys.argv[2]).write_text(json.dumps(rows))


if __name__ == "__main__":
    main()
