"""Compares what the benchmark programs measured, and writes docs/performance.md and its chart.

    report.py RESULTS [--write DOCS]

RESULTS is a folder with the programs' JSON files (some in its folders), memory.json,
instructions.json and versions.txt, as scripts/bench leaves them. Prints one table. Exits with 1 if
a cost grows faster than its work, if an instruction count has grown, or if a figure of a family
that was run is missing.
"""

import json
import math
import pathlib
import statistics
import sys

REFERENCES = {"memcpy", "read(2)", "write(2)", "thread", "stdio", "RapidJSON", "bare program",
              "not sending", "file"}
# References that nothing can come near, so a ratio says little.
BOUNDS = {"memcpy", "read(2)", "thread"}
MAX_EXPONENT = 1.1
MICROSECOND = 1e3
KILOBYTE = 1e3
MEGABYTE = 1e6


class Goal:
    """Ours takes at most `share` of what the contender takes, and `extra` nanoseconds or bytes."""

    def __init__(self, contender, share, extra=0):
        self.contender, self.share, self.extra = contender, share, extra

    def limit(self, other):
        return self.share * other + self.extra

    def words(self, unit):
        extra = f" + {unit(self.extra)}" if self.extra else ""
        return f"{self.share:.2f} × {self.contender}{extra}"


def faster(factor, *contenders):
    return [Goal(contender, 1 / factor) for contender in contenders]


def at_most(share, contender, extra=0):
    return [Goal(contender, share, extra)]


PLATFORM, EIGHT_BIT = "substitute, platform string, %d variables", "substitute, 8-bit, %d variables"

# The family, the work, its size, and what is wanted.
ROWS = [
    ("vars", EIGHT_BIT % 10, 100, faster(1.5, "scanner")),
    ("vars", EIGHT_BIT % 10, 1_000_000, faster(1.5, "scanner")),
    ("vars", EIGHT_BIT % 100, 1_000_000, faster(1.5, "scanner")),
    ("vars", EIGHT_BIT % 10_000, 1_000_000, faster(1.5, "scanner")),
    ("vars", PLATFORM % 10, 100, faster(1.5, "scanner")),
    ("vars", PLATFORM % 10, 1_000_000, faster(2, "scanner")),
    ("vars", PLATFORM % 100, 1_000_000, faster(2, "scanner")),
    ("vars", PLATFORM % 10_000, 1_000_000, faster(2, "scanner")),
    ("text", "escape, clean", 30, faster(1.5, "GLib")),
    ("text", "escape, clean", 1_000, faster(5, "GLib")),
    ("text", "escape, clean", 1_000_000, faster(5, "GLib")),
    ("text", "escape, 10 % escaped", 1_000, faster(2, "GLib")),
    ("text", "escape, 100 % escaped", 1_000, faster(2, "GLib")),
    ("text", "append by 1 byte", 1_000, at_most(1.7, "std::string")),
    ("text", "append by 1 byte", 100_000, at_most(1.7, "std::string")),
    ("text", "append by 1 byte", 4_000_000, at_most(1.7, "std::string")),
    ("text", "append by 16 bytes", 100_000, at_most(1.7, "std::string")),
    ("text", "append by 16 bytes", 4_000_000, at_most(1.7, "std::string")),
    ("registry", "sectioned registry", 10_000, faster(1.5, "SimpleIni", "GKeyFile")),
    ("registry", "sectioned registry", 1_000_000, faster(2, "SimpleIni", "GKeyFile")),
    ("registry", "sectioned registry", 50_000_000, faster(1.5, "SimpleIni", "GKeyFile")),
    ("registry", "one section, look-up of each entry", 100_000, faster(1.5, "GKeyFile")),
    ("registry", "destroying a sectioned registry", 1_000_000, at_most(1, "SimpleIni")),
    ("registry", "destroying a sectioned registry", 50_000_000, at_most(1, "SimpleIni")),
    ("registry", "nested registry", 10_000, faster(5, "Boost")),
    ("registry", "nested registry", 1_000_000, faster(5, "Boost")),
    ("registry", "nested registry", 50_000_000, faster(5, "Boost")),
    ("config", "configuration, read", 1_000, at_most(2, "stdio")),
    ("config", "configuration, read", 1_000_000, faster(3, "GKeyFile")),
    ("config", "configuration, read", 100_000_000, faster(3, "GKeyFile")),
    ("config", "configuration, change four", 1_000,
     at_most(2, "stdio") + faster(2, "GKeyFile")),
    ("config", "configuration, write", 100_000_000, at_most(5, "write(2)")),
    ("web", "sending, first call", 1, at_most(1, "not sending", 100 * MICROSECOND)),
    ("web", "sending, later calls", 1, at_most(1, "not sending", 100 * MICROSECOND)),
    ("web", "GET on loopback", 1, at_most(1.2, "libcurl")),
    ("start", "program, start to exit", 1, at_most(1.15, "bare program")),
]
# Works whose growth alone counts, and what their sizes count.
GROWTH_ROWS = [
    ("vars", "growth: values that nest"),
    ("vars", "growth: GetValues of variables"),
    ("vars", "growth: Item of placeholders"),
    ("registry", "growth: sections and look-ups by prefix"),
    ("registry", "growth: deletions"),
    ("registry", "growth: levels"),
    ("config", "growth: keys of preferences"),
    ("web", "growth: header lines"),
]
MEMORY_ROWS = [
    ("sectioned registry", at_most(1, "SimpleIni") + at_most(1, "GKeyFile")),
    ("nested registry", at_most(1, "Boost")),
    ("configuration", at_most(2, "file")),
    ("program that applies once", at_most(1, "bare program", MEGABYTE)),
]
# Where the time goes in works that fall short, by the profiles of perf and strace.
PROFILES = {
    "substitute, 8-bit": "For 1 MB, the look-up of names takes 43 %, the scan 32 %, copying 14 %, "
        "the search for the delimiters 7 %, and that for the end of the text 3 %. Ours changes a "
        "text, which is made anew for each round; the scanner returns a new one. These changed "
        "nothing: a search for both delimiters at once, sixteen bytes at a time; a hash of two "
        "products side by side; copies of short pieces without a call; hints for branches; large "
        "pages. A shorter way through the usual case gave 1 %, and took 10 % from platform "
        "strings.",
    "nested registry": "Lines take 21 % and the nodes 24 %. Opening and reading the file, which "
        "takes as long as the reference, does not shrink with the file.",
    "configuration, change four": "The file is opened twice, once to read and once to write. "
        "These calls of the system take more than half of the time.",
    "sending": "The caller counts descriptors, reads the registry, makes the request and starts a "
        "thread. These take 5, 28, 9 and 42 µs in later calls. In the first call, with nothing in "
        "the processor's caches, they take 10, 46, 39 and 80 µs. Starting a thread alone takes a "
        "small program 40 to 70 µs the first time. A thread that begins its work later, or has a "
        "smaller stack, changes nothing.",
    "GET on loopback": "The thread begins after 31 µs, has the handles of libcurl after 56, and "
        "has connected after 121. The answer is there after 224 µs, and the caller wakes up after "
        "260. libcurl alone does not tell the caller that the thread has begun.",
    "program, start to exit": "The kernel maps three more libraries: the platform layer takes "
        "100 µs, the framework 110, expat 50 and the substitution itself 40. What the loader does "
        "to them is a quarter of the difference. Without expat, with symbols bound when they are "
        "first used, and with code and constants in one segment, the ratio is still 1.19.",
}
HEADINGS = ["Work", "Ours", "Peers", "Reference", "Ours ÷ other", "Wanted at most", "Result"]
# Sizes of these are no bytes.
COUNTED = ("growth:", "one section")


def duration(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def amount(number):
    for unit, factor in (("MB", MEGABYTE), ("KB", KILOBYTE)):
        if number >= factor:
            return f"{number / factor:.4g} {unit}"
    return f"{number:.4g} B"


def size_words(work, size):
    if size == 1:
        return ""
    return f"{size:,}" if work.startswith(COUNTED) else amount(size)


class Results:
    """Nanoseconds by (work, size) and contender: the medians, and for ours the least ones."""

    def __init__(self, folder):
        self.times = {}
        self.least = {}
        self.families = set()
        for file in sorted(folder.rglob("*_bench.json")):
            self.families.add(file.name.removesuffix("_bench.json"))
            self.read(json.loads(file.read_text()))
        self.memory = self.load(folder / "memory.json", {"memory": []})["memory"]
        self.instructions = self.load(folder / "instructions.json", [])

    @staticmethod
    def load(file, default):
        return json.loads(file.read_text()) if file.exists() else default

    def read(self, report):
        runs = {}
        for run in report["benchmarks"]:
            if run["run_type"] == "iteration":
                if run.get("error_occurred"):
                    sys.exit(f"report: {run['name']}: {run.get('error_message')}")
                # Elapsed time if the program took it itself, else processor time.
                time = run["real_time" if "manual_time" in run["name"] else "cpu_time"]
                runs.setdefault(tuple(run["name"].split("/")[:3]), []).append(time)
        for (work, size, contender), times in runs.items():
            self.times.setdefault((work, int(size)), {})[contender] = statistics.median(times)
            if contender == "ours":
                self.least[work, int(size)] = min(times)

    def exponents(self):
        """Yields each work, its sizes with their times, and the power of the size that fits."""
        sizes = {}
        for (work, size), time in self.least.items():
            sizes.setdefault(work, {})[size] = time
        for work, points in sizes.items():
            if len(points) > 1:
                slope, _ = statistics.linear_regression(
                    [math.log(size) for size in points], [math.log(t) for t in points.values()])
                yield work, dict(sorted(points.items())), slope


class Report:
    def __init__(self, results):
        self.results = results
        self.failures = []
        self.short = []
        self.bars = []

    def compare(self, label, values, goals, words):
        """Returns the cells of one row, and keeps what falls short."""
        ours = values["ours"]
        peers, references = [], []
        for contender, value in values.items():
            if contender != "ours":
                cell = f"{contender} {words(value)}"
                (references if contender in REFERENCES else peers).append(cell)
        limits = {goal.contender: goal.limit(values[goal.contender]) for goal in goals}
        missed = [f"{ours / limit:.2f} × too much for {contender}"
                  for contender, limit in limits.items() if ours > limit]
        ratios = []
        for contender, value in values.items():
            if contender != "ours" and contender not in BOUNDS:
                ratios.append(f"{ours / value:.2f} × {contender}")
                limit = limits.get(contender)
                self.bars.append((label, contender, ours / value, limit and limit / value))
        if missed:
            self.short.append(f"{label}: {', '.join(missed)}")
        return [label, words(ours), "; ".join(peers) or "–", "; ".join(references) or "–",
                "; ".join(ratios), "; ".join(goal.words(words) for goal in goals),
                "; ".join(missed) or "reached"]

    def comparison(self):
        rows = []
        for family, work, size, goals in ROWS:
            if family not in self.results.families:
                continue
            values = self.results.times.get((work, size), {})
            lacking = {"ours", *(goal.contender for goal in goals)} - set(values)
            label = f"{work} {size_words(work, size)}".strip()
            if lacking:
                self.failures.append(f"{label}: not measured: {', '.join(sorted(lacking))}")
                continue
            rows.append(self.compare(label, values, goals, duration))
        known = {(work, size) for _, work, size, _ in ROWS}
        for work, size in self.results.times:
            if (work, size) not in known and work not in [row[1] for row in GROWTH_ROWS]:
                self.failures.append(f"{work}/{size}: the report has no row for it")
        return [HEADINGS, *rows]

    def growth(self):
        rows = []
        seen = set()
        for work, points, exponent in self.results.exponents():
            seen.add(work)
            steps = ", ".join(f"{size_words(work, size)}: {duration(time)}"
                              for size, time in points.items())
            if exponent > MAX_EXPONENT:
                self.failures.append(f"{work}: grows with the power {exponent:.2f} of its size")
            rows.append([work.removeprefix("growth: "), steps, f"{exponent:.2f}",
                         "in proportion" if exponent <= MAX_EXPONENT else "faster than the work"])
        for family, work in GROWTH_ROWS:
            if family in self.results.families and work not in seen:
                self.failures.append(f"{work}: not measured")
        return [["Work", "Sizes and least times of ours", "Exponent", "Grows"], *rows]

    def memory(self):
        values = {}
        for entry in self.results.memory:
            work, _, contender = entry["name"].split("/")
            values.setdefault(work, {})[contender] = entry
        rows = []
        for work, goals in MEMORY_ROWS:
            if not {"ours", *(goal.contender for goal in goals)} <= set(values.get(work, {})):
                if values:
                    self.failures.append(f"memory: {work}: not measured")
                continue
            entries = values[work]
            peaks = {contender: entry["peak"] for contender, entry in entries.items()}
            rows.append(self.compare(f"memory, peak: {work}", peaks, goals, amount))
            if entries["ours"]["entries"]:
                each = {contender: entry["heap"] / entry["entries"]
                        for contender, entry in entries.items()}
                rows.append(self.compare(f"memory, each entry: {work}", each, goals, amount))
        return [["Memory", *HEADINGS[1:]], *rows]

    def counts(self):
        rows = []
        for entry in self.results.instructions:
            before, now = entry["before"], entry["now"]
            if before and now > entry["limit"]:
                self.failures.append(f"{entry['name']}: {now:,} instructions, {before:,} before")
            rows.append([entry["name"].replace("/", " ", 1).removesuffix("/ours"), f"{now:,}"])
        return [["Small case", "Instructions"], *rows]


def markdown(rows):
    lines = ["| " + " | ".join(rows[0]) + " |", "|" + "---|" * len(rows[0])]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows[1:]]) + "\n"


def plain(rows):
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip()
                     for row in rows) + "\n"


def chart(bars):
    """An SVG of ours against each contender, on a logarithmic scale, with what is wanted."""
    left, width, step, top = 470, 420, 17, 46
    low, high = -5, 5  # powers of two
    height = top + step * len(bars) + 14

    def x(ratio):
        power = min(max(math.log2(ratio), low), high)
        return left + (power - low) / (high - low) * width

    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 90} {height}" '
        'font-family="sans-serif" font-size="11">',
        "<style>",
        "  .ink { fill: #1f2328; } .soft { fill: #59636e; } .plain { fill: #8c959f; }",
        "  .good { fill: #1a7f37; } .short { fill: #bc4c00; }",
        "  .wanted { stroke: #1f2328; } .line { stroke: #b8c0c8; }",
        "  @media (prefers-color-scheme: dark) {",
        "    .ink { fill: #e6edf3; } .soft { fill: #9198a1; } .plain { fill: #6e7681; }",
        "    .good { fill: #3fb950; } .short { fill: #f0883e; }",
        "    .wanted { stroke: #e6edf3; } .line { stroke: #4a525b; }",
        "  }",
        "</style>",
        '<text class="ink" x="8" y="16" font-weight="bold">Time or memory, ours ÷ other: '
        "further left is better. The bar begins at equal; the mark is the wanted maximum.</text>",
    ]
    for power in range(low, high + 1):
        ratio = 2.0 ** power
        words = f"{ratio:g}" if power >= 0 else f"1/{2 ** -power}"
        lines.append(f'<line class="line" x1="{x(ratio):.1f}" x2="{x(ratio):.1f}" y1="{top - 10}" '
                     f'y2="{height - 8}" stroke-width="{1.5 if power == 0 else 0.5}"/>')
        lines.append(f'<text class="soft" x="{x(ratio):.1f}" y="{top - 14}" '
                     f'text-anchor="middle">{words}</text>')
    for i, (label, contender, ratio, limit) in enumerate(bars):
        y = top + i * step
        begin, end = sorted((x(1), x(ratio)))
        kind = "plain" if limit is None else "good" if ratio <= limit else "short"
        text = f"{label} · {contender}".replace("&", "&amp;")
        lines.append(f'<text class="ink" x="{left - 10}" y="{y + 10}" text-anchor="end">'
                     f"{text}</text>")
        lines.append(f'<rect class="{kind}" x="{begin:.1f}" y="{y + 1}" '
                     f'width="{max(end - begin, 1):.1f}" height="10"/>')
        if limit is not None:
            lines.append(f'<line class="wanted" x1="{x(limit):.1f}" x2="{x(limit):.1f}" '
                         f'y1="{y - 1}" y2="{y + 13}" stroke-width="2"/>')
        lines.append(f'<text class="soft" x="{left + width + 12}" y="{y + 10}">{ratio:.2f}</text>')
    return "\n".join([*lines, "</svg>"]) + "\n"


def document(report, tables, versions):
    comparison, growth, memory, counts = tables
    parts = [
        "# Performance\n",
        "`scripts/bench` measured all of this in one run and wrote this page. It compares the "
        "library with what a user would otherwise pick, and with the physical bound: the calls of "
        "the system, or a copy of the bytes. The figures are medians; in a program, all "
        "contenders take turns in random order. They are processor times, but for the web and for "
        "starting programs, where they are elapsed times. The heap keeps its memory from one round "
        "to the next. Only ratios travel from machine to "
        "machine.\n",
        "```\n" + versions.strip() + "\n```\n",
        "![Ours against each contender](performance.svg)\n",
        "## Ours and others\n",
        "KB and MB are powers of ten. A ratio below 1 means that ours is faster. A GET of ours takes "
        "until its end event, and one of libcurl until its thread has ended: so their callers learn "
        "of the end.\n",
        markdown(comparison),
        "## What falls short\n",
        "\n".join(f"- {line}" for line in report.short) or "Nothing falls short.",
        "",
        *(f"- **{work}**: {words}" for work, words in PROFILES.items()
          if any(line.startswith(work) for line in report.short)),
        *(["\n## What is wrong with this run\n",
           "\n".join(f"- {failure}" for failure in report.failures)] if report.failures else []),
        "\n## Growth\n",
        "The least time, which is the least disturbed one, is fitted as a power of the size. "
        "A run fails if an exponent is above "
        f"{MAX_EXPONENT}. An exponent a little above 1 is that of larger data, which no longer fit "
        "into the processor's caches.\n",
        markdown(growth),
        "## Memory\n",
        "The peak is the largest resident size above that of the beginning, in a process of its "
        "own. Each entry has its share of the heap that is in use after reading; sections and "
        "directories are entries too.\n",
        markdown(memory),
        "## Instructions\n",
        "Counted with valgrind, for one time. They do not depend on what else the machine does. "
        "`scripts/bench instructions` fails if one has grown by more than 5 % against "
        "`bench/instructions.txt`; `scripts/bench instructions --accept` writes that file.\n",
        markdown(counts),
    ]
    return "\n".join(parts)


def main(arguments):
    folder = pathlib.Path(arguments[0])
    results = Results(folder)
    report = Report(results)
    tables = [report.comparison(), report.growth(), report.memory(), report.counts()]
    for table in tables:
        if len(table) > 1:
            print(plain(table))
    if report.short:
        print("What falls short:\n  " + "\n  ".join(report.short))
    if len(arguments) == 3 and arguments[1] == "--write":
        docs = pathlib.Path(arguments[2])
        versions = (folder / "versions.txt").read_text()
        (docs / "performance.md").write_text(document(report, tables, versions))
        (docs / "performance.svg").write_text(chart(report.bars))
    for failure in report.failures:
        print(f"bench: {failure}", file=sys.stderr)
    return 1 if report.failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
