"""Instructions of one fixed installation, by the library that executes them."""

import re
import subprocess
from pathlib import Path

from .packages import PackageBuilder, clean_environment, payload_bytes, scratch_directory

BASELINE = Path(__file__).resolve().parent.parent / "baseline.tsv"
OURS = "libcorvane_common"
TOTAL = "total"
# Less than this share of the total is summed up as "other".
SMALL = 0.005


def fixed_payload():
    files = [(payload_bytes(16 * 1024, seed=i), f"part-{i}") for i in range(64)]
    return files + [(payload_bytes(2**20, seed=100), "image")]


def object_name(path):
    """libcrypto for /usr/lib/.../libcrypto.so.3.0.1"""
    return re.sub(r"\.so[\d.]*$", "", Path(path).name)


def read_profile(text):
    """Sums up the function lines of callgrind_annotate: "1,234 (5.6%)  file:function [object]"."""
    counts = {}
    for line in text.splitlines():
        if match := re.match(r"\s*([\d,]+) \([^)]*\)\s+.*\[([^\]]+)\]$", line):
            name = object_name(match[2])
            counts[name] = counts.get(name, 0) + int(match[1].replace(",", ""))
    return counts


def count_instructions(build):
    """{object: instructions}, with the sum under TOTAL."""
    program = build / "benchmarks/corvane-one-installation"
    with scratch_directory() as directory:
        builder = PackageBuilder(build, directory)
        package = builder.build("package.zip", fixed_payload(), with_script=False)
        (directory / "target").mkdir()
        profile = directory / "profile"
        subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}",
                        program, builder.signer.certificate, package, directory / "target"],
                       check=True, env=clean_environment(), stderr=subprocess.DEVNULL)
        annotated = subprocess.run(["callgrind_annotate", "--threshold=100", profile], check=True,
                                   capture_output=True, text=True).stdout
    counts = read_profile(annotated)
    total = sum(counts.values())
    result = {TOTAL: total}
    for name, count in sorted(counts.items(), key=lambda item: -item[1]):
        shown = name if count >= SMALL * total or name == OURS else "other"
        result[shown] = result.get(shown, 0) + count
    return result


def read_baseline():
    lines = BASELINE.read_text().splitlines() if BASELINE.exists() else []
    rows = (line.split("\t") for line in lines if line and not line.startswith("#"))
    return {name: int(count) for name, count in rows}


def write_baseline(counts, machine):
    lines = ["# Instructions of one fixed installation under callgrind, by library.",
             "# Written by benchmarks/instructions --update.", f"# {machine}"]
    lines += [f"{name}\t{count}" for name, count in counts.items()]
    BASELINE.write_text("\n".join(lines) + "\n")


def comparison(counts, baseline):
    """Rows of (object, now, before or None, change or None)."""
    rows = []
    for name, count in counts.items():
        before = baseline.get(name)
        rows.append((name, count, before, (count - before) / before if before else None))
    return rows
