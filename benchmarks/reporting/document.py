"""docs/performance.md and its charts, from the figures of one run."""

from . import charts, figures as aims_of, instructions, systemtools

NUMBERS = (10, 1000, 10000)
FILES = (100, 1000, 10000)

INTRODUCTION = """\
# Performance

Written by `benchmarks/report` from a single run; do not edit. What an installation costs beyond the
work that nobody can avoid is our own doing, so nearly every figure is a ratio to that work: **the
floor**, a bare loop that reads an entry with `zip_fread` in chunks of 262144 bytes, hashes it with
`SHA256_Update`, writes it with `write(2)`, and does nothing else. Both run in turns in the same
process. A CPU ratio is the median of the ratios of neighbouring runs; a wall ratio compares the
fastest run of each, since waiting for a processor that others use says nothing about either. All
files are in memory, so that no disk is measured. Both stay on one processor: left to the scheduler,
the worker thread runs on another one than the floor in the calling thread does, and the CPU ratio
of a large installation was anything from 1.05 to 1.29 on the machine below; with the floor in a
thread of its own it was 1.00 to 1.01, as it is on one processor.
"""

LARGE = """\
## Large files

Four files, half of the bytes compressible, half random. CPU time counts all threads.
"""

MANY = """\
## Many small files

Files of 1 KiB, a hundred to a directory. The floor opens, creates, writes and closes each file; the
library also works out where it goes, checks whether its directory exists, verifies the digest, and
reports progress.
"""

VALIDATION = """\
## Validation

The whole of `ValidateFirmwareZipFile`, and each part of it alone on the same package. Our own part
checks the text before any parser sees it, and reads the description from the tree, including
pugixml's look-ups. The CPU times of the parts need not add up, because each part finds the heap and
the caches as the previous one left them. With 10 files most of the time goes into xmlsec's copy of
the trusted certificate and one RSA verification. libzip spends most of its time on one system call
for each entry: it converts the entry's date, and the C library looks at the time zone file each
time unless `TZ` is set. A host with thousands of files may set it.
"""

COLD = """\
## First verdict

A process from its start to the first verdict on a package of ten files, against a program that
calls libzip, xmlsec and pugixml and nothing of ours.
"""

VALUES = """\
## Values, names and the index

Per operation. The floor of a parser is `std::from_chars` or a comparison of texts. The floor of the
name comparison is `strcasecmp`, which gets neither a length nor a locale; the library compares names
as the global C++ locale defines letter case, and `boost::iequals` looks that up for each character.
The floor of `Load` and `Save` is Boost.JSON, from text to document and from a finished document to
text: no records, checks or locks, and for `Save` the document is already made. These have no aim,
because an installation parses only a handful of them.
"""

PROCESSES = """\
## Whole processes

`firmware-host` against `benchmarks/integrator.sh`, which does the same with `unzip`,
`xmlsec1 --verify`, `sha256sum --check` and `sh`, children included. The script unpacks the archive
once for the manifest and once for the payload, and reads the payload again to hash it. Part of the
difference comes not from the structure but from `sha256sum`, which does not use the processor's SHA
instructions here, while libcrypto does. Peak memory is that of the largest process.
"""

TOOLS = """\
## Against unzip and sha256sum

CPU time of `firmware-host`, and of `unzip` and `sha256sum` for the same package, which unpack all of
it and hash what is there: no manifest, no signature, no verdict. The host reads the payload twice,
once for the check before the first write and once for the installation; `--no-check` leaves the
first one out. Medians of runs in turns; a ratio is the median of the ratios of neighbouring runs.
"""

DEFLATED_MISSED = """\
The aim for deflated payload is missed with the check. Each of the two passes inflates everything,
once for the check and once for the installation, which the tools do once. In a profile, libz takes
54 % of the time, a quarter of it for libzip's CRC-32, libcrypto 21 % and the kernel 20 %. A source
that reads the archive in blocks of 64 KiB, and not of libzip's 4 KiB, would save 5 % of the whole;
chunks of 16 KiB to 2 MiB make no difference.
"""

STARTS = """\
## From start to verdict

A program that loads the certificate, asks for the verdict and ends. Together with the one trusted
certificate xmlsec loads the trust store of the machine, unless `SSL_CERT_FILE` and `SSL_CERT_DIR`
lead nowhere; the C library looks at the file of the time zone for each entry of the archive, unless
`TZ` is set. Instructions are those outside of the kernel.
"""

MEMORY = """\
## Memory

The host with stored payloads in four files. One buffer of 262144 bytes serves all files; most of
the rest is the pages of the shared libraries that were touched. Only a longer manifest takes more: it
is parsed twice, and canonicalised, in memory.
"""

COUNTS = """\
## Instructions

One fixed installation (65 files, 2 MiB) from `main` to exit under callgrind, by the library that
executes them. `benchmarks/instructions` counts again and compares with `benchmarks/baseline.tsv`.
"""

NOTES = """\
## What was found on the way

- Half of our own share of a validation used to go into reading the manifest one byte, or one
  `memchr`, at a time, and the markup was counted twice. Now UTF-8 is checked eight bytes at a time,
  the markup is counted once, and the rest is mostly Base64 and the look-ups of attributes.
- When the machine is busy, each of a hundred small files costs more than each of ten thousand: the
  worker starts on another processor, with cold caches. A floor that runs in a thread of its own pays
  the same, and the ratio is then equal for 100 and for 10,000 files.
- Large files are written from the chunk itself: the stream hands anything larger than its own
  buffer to the system at once, so there is no copy to avoid. Neither running the floor in a thread
  of its own nor giving it the stream's `writev` changes the ratio measurably.
"""


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |",
             "|---|" + "---:|" * (len(header) - 1)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def summary(figures):
    rows = [(aim.what, aim.limit, f"**{aim.measured}**", "yes" if aim.met else "**no**")
            for aim in aims_of.aims(figures)]
    return table(("Figure", "Aim", "Measured", "Met"), rows)


def milliseconds(seconds):
    return f"{seconds * 1e3:.1f} ms" if seconds < 1 else f"{seconds:.2f} s"


def ratio_rows(named_entries):
    return [(name, f"**{e['cpu_ratio']:.3f}**", f"**{e['wall_ratio']:.3f}**",
             milliseconds(e["ours_cpu"]), milliseconds(e["floor_cpu"]))
            for name, e in named_entries]


RATIO_HEADER = ("", "CPU ratio", "wall ratio", "CPU time", "floor")


def large_table(b):
    return table(RATIO_HEADER, ratio_rows([("stored", b["installLarge/0"]),
                                           ("deflated", b["installLarge/1"])]))


def many_table(b):
    rows = []
    for n in FILES:
        entry = b[f"installMany/{n}"]
        row, = ratio_rows([(f"{n:,} files", entry)])
        rows.append(row + (f"{entry['ours_cpu'] / n * 1e6:.2f} µs",))
    return table(RATIO_HEADER + ("per file",), rows)


def validation_table(b):
    rows = []
    for n in NUMBERS:
        entry = b[f"validate/{n}"]
        parts = [f"{entry[part] * 1e6:,.0f} µs" for part in
                 ("whole_cpu", "xmlsec_cpu", "libzip_cpu", "pugixml_cpu", "own_cpu")]
        rows.append((f"{n:,} files", f"**{entry['own_share']:.1%}**", *parts,
                     f"{entry['whole_cpu'] / n * 1e6:.2f} µs"))
    return table(("", "own share", "whole", "libxml2, xmlsec", "libzip", "pugixml", "own",
                  "whole per file"), rows)


def values_table(b):
    names = (("`Version::parse`", "parseVersion"), ("`MacAddress::parse`", "parseMacAddress"),
             ("`DeviceType::parse`", "parseDeviceType"), ("`FQDN` comparison", "compareNames"),
             ("`FirmwareIndex::Load`, 10,000 records", "loadIndex"),
             ("`FirmwareIndex::Save`, 10,000 records", "saveIndex"))
    rows = []
    for name, key in names:
        entry = b[key]
        times = [entry[t] / entry["operations"] for t in ("ours_cpu", "floor_cpu")]
        shown = [milliseconds(t) if t > 1e-4 else f"{t * 1e9:.1f} ns" for t in times]
        rows.append((name, f"**{entry['cpu_ratio']:.1f}**", *shown))
    return table(("", "CPU ratio", "CPU time", "floor"), rows)


def process_table(processes):
    rows = []
    for kind, (host, script) in processes.items():
        rows.append((f"{kind}: script against host", f"**{script.cpu / host.cpu:.1f}**",
                     f"**{script.wall / host.wall:.1f}**", f"{script.peak / host.peak:.2f}"))
        for name, cost in (("host", host), ("script", script)):
            rows.append((f"{kind}: {name}", f"{cost.cpu:.2f} s", f"{cost.wall:.2f} s",
                         f"{cost.peak / 1024:.1f} MiB"))
    return table(("200 MB", "CPU", "wall", "peak memory"), rows)


def tool_table(tools):
    rows = [(payload, f"**{found.checked_ratio:.2f}**", f"**{found.unchecked_ratio:.2f}**",
             f"{found.checked:.2f} s", f"{found.unchecked:.2f} s", f"{found.tools:.2f} s")
            for payload, found in tools.items()]
    return table(("Payload", "ratio", "with `--no-check`", "host", "with `--no-check`",
                  "`unzip` and `sha256sum`"), rows)


def tool_notes(tools):
    missed = tools["200 MB deflated"].checked_ratio > systemtools.LIMITS["200 MB deflated"]
    return [DEFLATED_MISSED] if missed else []


def start_table(starts):
    rows = [(name, f"{start.instructions / 1e6:,.1f} million",
             *(milliseconds(seconds) for seconds in start.cpu.values()))
            for name, start in starts.items()]
    return table(("", "instructions, one file", "CPU time, one file", "CPU time, 10,000 files"), rows)


def memory_table(figures):
    rows = [(f"{size // 10**6:,} MB", f"**{peak / 1024:.1f} MiB**")
            for size, peak in sorted(figures.memory.items())]
    rows += [(f"{count:,} files of 1 KiB", f"**{peak / 1024:.1f} MiB**")
             for count, peak in sorted(figures.memory_of_many.items())]
    return table(("Payload", "Peak"), rows)


def instruction_table(figures):
    total = figures.instructions[instructions.TOTAL]
    rows = []
    for name, now, _, change in instructions.comparison(figures.instructions, figures.baseline):
        rows.append((name, f"**{now / total:.2%}**", f"{now:,}",
                     "" if change is None else f"{change:+.2%}"))
    return table(("", "share", "instructions", "against the baseline"), rows)


def chart(title, file):
    return f"![{title}](performance/{file})\n"


def write_charts(figures, directory):
    b = figures.benchmarks
    kinds = ("stored", "deflated")
    rate = [[200 / b[f"installLarge/{i}"][key] for i in (0, 1)]
            for key in ("floor_cpu", "ours_cpu")]
    script = [200 / figures.processes[kind][1].cpu for kind in kinds]
    directory.mkdir(parents=True, exist_ok=True)
    (directory / "throughput.svg").write_text(charts.bars(
        "Throughput, 200 MB", "MB per second of CPU time, more is better", kinds,
        [charts.Series("floor", charts.FLOOR, rate[0]),
         charts.Series("Installer", charts.OURS, rate[1]),
         charts.Series("shell script", charts.SCRIPT, script)]))
    per_file = {key: [(n, b[f"installMany/{n}"][key] / n * 1e6) for n in FILES]
                for key in ("floor_cpu", "ours_cpu")}
    (directory / "files.svg").write_text(charts.lines(
        "CPU time per file of 1 KiB", "µs", "files", [(n, f"{n:,}") for n in FILES],
        [charts.Series("Installer", charts.OURS, per_file["ours_cpu"]),
         charts.Series("floor", charts.FLOOR, per_file["floor_cpu"])]))
    points = [(size / 1e6, peak / 1024) for size, peak in sorted(figures.memory.items())]
    (directory / "memory.svg").write_text(charts.lines(
        "Peak memory of the host", "MiB", "payload in MB", [(x, f"{x:,.0f}") for x, _ in points],
        [charts.Series("firmware-host", charts.OURS, points)], limit=(16, "16 MiB")))


def write(figures, path):
    b = figures.benchmarks
    write_charts(figures, path.parent / "performance")
    measured_on = (f"Measured on {figures.date}: {figures.machine}. Load average "
                   f"{figures.load[0]:.1f} before the run, {figures.load[1]:.1f} after it.\n")
    sections = [
        INTRODUCTION, measured_on, summary(figures),
        LARGE, large_table(b), chart("Throughput against the floor", "throughput.svg"),
        MANY, many_table(b), chart("Time per file against the number of files", "files.svg"),
        VALIDATION, validation_table(b),
        COLD, table(RATIO_HEADER, ratio_rows([("10 files", b["coldVerdict"])])),
        STARTS, start_table(figures.starts),
        PROCESSES, process_table(figures.processes),
        TOOLS, tool_table(figures.tools), *tool_notes(figures.tools),
        MEMORY, memory_table(figures),
        chart("Peak memory against the payload", "memory.svg"),
        VALUES, values_table(b), COUNTS, instruction_table(figures), NOTES]
    path.write_text("\n".join(sections))
