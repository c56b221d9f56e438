"""What the trust store and the time zone cost a process from its start to the verdict."""

import re
import statistics
import subprocess
from dataclasses import dataclass

from .packages import PackageBuilder, clean_environment, payload_bytes, scratch_directory
from .systemtools import cpu_time

NO_TRUST_STORE = {"SSL_CERT_FILE": "/dev/null", "SSL_CERT_DIR": "/dev/null"}
TIME_ZONE = {"TZ": ":/etc/localtime"}
SETTINGS = {"neither": {}, "no trust store": NO_TRUST_STORE,
            "no trust store, `TZ` set": {**NO_TRUST_STORE, **TIME_ZONE}}
COUNTS = (1, 10_000)
ROUNDS = 9


@dataclass
class Start:
    # Of a package of one file, outside of the kernel.
    instructions: int
    # Seconds of CPU time, the kernel's included, by number of files.
    cpu: dict


def instructions_of(command, environment):
    told = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command],
                          check=True, env=environment, capture_output=True, text=True).stderr
    return int(re.search(r"Collected : (\d+)", told)[1])


def measure(build):
    """{setting: Start} of a program that does nothing but ask for the verdict, and of the host."""
    content = payload_bytes(1024, seed=1)
    with scratch_directory() as directory:
        builder = PackageBuilder(build, directory)
        packages = {count: builder.build(f"{count}.zip",
                                         [(content, f"part-{i // 100}/file-{i}") for i in range(count)],
                                         with_script=False)
                    for count in COUNTS}
        certificate = builder.signer.certificate
        plain = [build / "benchmarks/corvane-cold-verdict", certificate]
        host = [build / "examples/firmware-host/firmware-host", "--verify", certificate]
        programs = {name: (plain, setting) for name, setting in SETTINGS.items()}
        programs["`firmware-host --verify`, which makes both settings"] = (host, {})
        result = {}
        for name, (command, setting) in programs.items():
            environment = {k: v for k, v in clean_environment().items() if k != "TZ"} | setting
            cpu = {count: statistics.median(cpu_time([*command, package], environment)
                                            for _ in range(ROUNDS))
                   for count, package in packages.items()}
            result[name] = Start(instructions_of([*command, packages[1]], environment), cpu)
    return result
