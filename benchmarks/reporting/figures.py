"""The figures of one run, and the aims they are held against."""

import json
import subprocess
from dataclasses import dataclass, field

from . import systemtools


@dataclass
class Figures:
    machine: str
    date: str
    load: tuple
    # By name without the run's parameters, such as "installLarge/1".
    benchmarks: dict
    # {"deflated": (host, script), "stored": (host, script)}
    processes: dict
    # {payload: systemtools.ToolComparison}
    tools: dict
    # {setting: startup.Start}
    starts: dict
    # {bytes: KiB}
    memory: dict
    # {number of files: KiB}
    memory_of_many: dict
    instructions: dict
    baseline: dict = field(default_factory=dict)


def run_benchmarks(build, directory):
    output = directory / "benchmarks.json"
    subprocess.run([build / "benchmarks/corvane-benchmarks", f"--benchmark_out={output}",
                    "--benchmark_out_format=json"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    benchmarks = {}
    for entry in json.loads(output.read_text())["benchmarks"]:
        name = entry["name"].split("/iterations:")[0]
        benchmarks[name] = entry
    return benchmarks


@dataclass
class Aim:
    what: str
    limit: str
    measured: str
    met: bool


def at_most(what, value, limit, form="{:.2f}"):
    return Aim(what, "≤ " + form.format(limit), form.format(value), value <= limit)


def at_least(what, value, limit):
    return Aim(what, f"≥ {limit:.2f}", f"{value:.2f}", value >= limit)


def per_file(figures, name):
    entry = figures.benchmarks[name]
    return entry["ours_cpu"] / entry["files"]


def spread(values):
    return max(values) / min(values) - 1


def aims(figures):
    b = figures.benchmarks
    rows = []
    for index, kind in ((0, "stored"), (1, "deflated")):
        entry = b[f"installLarge/{index}"]
        rows.append(at_most(f"200 MB {kind}: CPU time against the floor", entry["cpu_ratio"], 1.05))
        rows.append(at_most(f"200 MB {kind}: wall time against the floor", entry["wall_ratio"],
                            1.05))
    many = b["installMany/10000"]
    rows.append(at_most("10,000 files of 1 KiB: CPU time against the floor", many["cpu_ratio"],
                        1.5))
    rows.append(at_most("10,000 files of 1 KiB: wall time against the floor", many["wall_ratio"],
                        1.5))
    counts = [per_file(figures, f"installMany/{n}") for n in (100, 1000, 10000)]
    rows.append(at_most("CPU time per file, spread over 100, 1,000 and 10,000 files",
                        spread(counts), 0.10, "{:.1%}"))
    own = max(b[f"validate/{n}"]["own_share"] for n in (10, 1000, 10000))
    rows.append(at_most("own share of a validation, largest of 10, 1,000 and 10,000 files", own,
                        0.10, "{:.1%}"))
    validation = [b[f"validate/{n}"]["whole_cpu"] / n for n in (1000, 10000)]
    rows.append(at_most("validation time per file, spread between 1,000 and 10,000 files",
                        spread(validation), 0.10, "{:.1%}"))
    for kind, (host, script) in figures.processes.items():
        rows.append(at_least(f"200 MB {kind}: CPU time of the script against the host",
                             script.cpu / host.cpu, 1.8))
    for payload, limit in systemtools.LIMITS.items():
        found = figures.tools[payload]
        rows.append(at_most(f"{payload}: CPU time of the host against `unzip` and `sha256sum`",
                            found.checked_ratio, limit))
        rows.append(at_most(f"{payload}: the same with `--no-check`", found.unchecked_ratio, limit))
    sizes = sorted(figures.memory)
    for size in (sizes[0], sizes[-1]):
        rows.append(at_most(f"peak memory of the host in MiB, {size // 10**6:,} MB of payload",
                            figures.memory[size] / 1024, 16, "{:.1f}"))
    return rows
