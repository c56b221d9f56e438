"""What the figures were measured on, without naming anybody's machine."""

import os
import platform
import re
import subprocess
from pathlib import Path


def cpu_model():
    match = re.search(r"^model name\s*:\s*(.*)$", Path("/proc/cpuinfo").read_text(), re.M)
    return match[1] if match else platform.machine()


def compiler():
    first_line = subprocess.run(["c++", "--version"], capture_output=True, text=True).stdout
    return first_line.split("\n")[0]


def system():
    match = re.search(r'^PRETTY_NAME="(.*)"$', Path("/etc/os-release").read_text(), re.M)
    return match[1] if match else platform.system()


def description():
    cores = os.cpu_count()
    return f"{cpu_model()}, {cores} cores, {platform.machine()}, {system()}, {compiler()}"


def load():
    return os.getloadavg()[0]
