"""CPU time of the host against `unzip` and `sha256sum`, which unpack the same package and hash it."""

import resource
import shutil
import statistics
import subprocess
from dataclasses import dataclass

from .packages import MEGABYTE, PackageBuilder, clean_environment, payload_bytes, scratch_directory

UNPACK_AND_HASH = 'unzip -q "$1" -d "$2" && find "$2" -type f -print0 | xargs -0 sha256sum'
LIMITS = {"10,000 files of 1 KiB": 0.8, "200 MB deflated": 0.5, "200 MB stored": 0.5}


@dataclass
class ToolComparison:
    # Seconds of CPU time, medians: with the check before the first write, without it, the tools.
    checked: float
    unchecked: float
    tools: float
    # Medians of the ratios of neighbouring runs.
    checked_ratio: float
    unchecked_ratio: float


def cpu_time(command, environment=None):
    """User and system time of a process and all its children, in seconds."""
    def used():
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return usage.ru_utime + usage.ru_stime

    before = used()
    subprocess.run(command, check=True, env=environment or clean_environment(),
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return used() - before


def compare(build, directory, package, certificate, rounds):
    host = build / "examples/firmware-host/firmware-host"
    target = directory / "target"
    commands = ([host, certificate, package, target],
                [host, "--no-check", certificate, package, target],
                ["sh", "-euc", UNPACK_AND_HASH, "sh", package, target])
    runs = []
    for _ in range(rounds):
        runs.append([])
        for command in commands:
            target.mkdir()
            runs[-1].append(cpu_time(command))
            shutil.rmtree(target)
    return ToolComparison(*(statistics.median(column) for column in zip(*runs)),
                          statistics.median(run[0] / run[2] for run in runs),
                          statistics.median(run[1] / run[2] for run in runs))


def compare_with_tools(build, rounds):
    """{payload: ToolComparison}, for the payloads in LIMITS."""
    size = 200 * MEGABYTE
    result = {}
    with scratch_directory(4 * size) as directory:
        builder = PackageBuilder(build, directory)
        content = payload_bytes(1024, seed=1)
        many = [(content, f"part-{i // 100}/file-{i}") for i in range(10_000)]
        makers = {"10,000 files of 1 KiB": lambda: builder.build("package.zip", many),
                  "200 MB deflated": lambda: builder.large("package.zip", size, deflate=True),
                  "200 MB stored": lambda: builder.large("package.zip", size, deflate=False)}
        for payload, make in makers.items():
            result[payload] = compare(build, directory, make(), builder.signer.certificate, rounds)
    return result
