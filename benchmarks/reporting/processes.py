"""Costs of whole processes, children included, as /usr/bin/time sees them."""

import shutil
import statistics
import subprocess
from dataclasses import dataclass

from .packages import MEGABYTE, PackageBuilder, clean_environment, payload_bytes, scratch_directory

MEMORY_SIZES = (20 * MEGABYTE, 200 * MEGABYTE, 2000 * MEGABYTE)


@dataclass
class ProcessCost:
    wall: float
    cpu: float
    # Of the largest single process, in KiB.
    peak: int


def median_cost(costs):
    return ProcessCost(*(statistics.median(getattr(cost, field) for cost in costs)
                         for field in ("wall", "cpu", "peak")))


def run_measured(command, directory):
    figures = directory / "figures"
    subprocess.run(["/usr/bin/time", "-f", "%e %U %S %M", "-o", figures, *command],
                   check=True, env=clean_environment(),
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wall, user, system, peak = figures.read_text().split()
    return ProcessCost(float(wall), float(user) + float(system), int(peak))


class Installation:
    """One package, installed into an empty directory again and again."""

    def __init__(self, build, directory, package, signer):
        self.directory = directory
        arguments = [signer.certificate, package, directory / "target"]
        self.host = [build / "examples/firmware-host/firmware-host", *arguments]
        script = build.parent.parent / "benchmarks/integrator.sh"
        self.script = ["/bin/sh", script, *arguments]

    def measure(self, command):
        target = self.directory / "target"
        shutil.rmtree(target, ignore_errors=True)
        target.mkdir()
        cost = run_measured(command, self.directory)
        shutil.rmtree(target)
        return cost


def compare_with_script(build, rounds):
    """Medians over `rounds`: {"deflated": (host, script), "stored": (host, script)}."""
    size = 200 * MEGABYTE
    result = {}
    with scratch_directory(4 * size) as directory:
        builder = PackageBuilder(build, directory)
        for kind in ("deflated", "stored"):
            package = builder.large("package.zip", size, deflate=kind == "deflated")
            installation = Installation(build, directory, package, builder.signer)
            pairs = [(installation.measure(installation.host),
                      installation.measure(installation.script)) for _ in range(rounds)]
            result[kind] = tuple(median_cost(costs) for costs in zip(*pairs))
    return result


def largest_peak(installation):
    return max(installation.measure(installation.host).peak for _ in range(3))


def peak_memory(build):
    """Largest peak of three runs of the host in KiB, by payload size in bytes."""
    peaks = {}
    for size in MEMORY_SIZES:
        with scratch_directory(3 * size) as directory:
            builder = PackageBuilder(build, directory)
            package = builder.large("package.zip", size, deflate=False)
            peaks[size] = largest_peak(Installation(build, directory, package, builder.signer))
    return peaks


def peak_memory_of_many(build):
    """The same by number of files."""
    peaks = {}
    for count in (1000, 10000):
        with scratch_directory() as directory:
            builder = PackageBuilder(build, directory)
            content = payload_bytes(1024, seed=1)
            package = builder.build("package.zip", [(content, f"part-{i // 100}/file-{i}")
                                                    for i in range(count)])
            peaks[count] = largest_peak(Installation(build, directory, package, builder.signer))
    return peaks
