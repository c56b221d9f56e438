"""Signed packages for whole processes: made when needed, by firmware-pack, never kept."""

import os
import random
import shutil
import subprocess
import tempfile
from contextlib import contextmanager
from pathlib import Path

MEGABYTE = 10**6
VERSION = "4.2.1.7"


@contextmanager
def scratch_directory(needed=0):
    """A directory in memory if there is room for `needed` bytes, so that no disk is measured."""
    memory = Path("/dev/shm")
    usable = memory.is_dir() and shutil.disk_usage(memory).free > needed
    with tempfile.TemporaryDirectory(prefix="corvane-", dir=memory if usable else None) as name:
        yield Path(name)


def payload_bytes(size, seed):
    """Half text that deflates to about a third, half random. Equal arguments give equal bytes."""
    source = random.Random(seed)
    words = ["interface", "address", "gateway", "update", "firmware", "control", "state", "sensor"]
    block = " ".join(source.choice(words) + str(source.randrange(1000)) for _ in range(100_000))
    half = size // 2
    text = (block * (half // len(block) + 1))[:half].encode()
    return text + source.randbytes(size - half)


class Signer:
    """A fresh key with a certificate for one day."""

    def __init__(self, directory):
        self.key = directory / "key.pem"
        self.certificate = directory / "certificate.pem"
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1",
             "-subj", "/CN=Benchmark", "-keyout", self.key, "-out", self.certificate],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class PackageBuilder:
    """Packs payload files, and at the end a script that does nothing."""

    def __init__(self, build, directory):
        self.tool = build / "tools/firmware-pack/firmware-pack"
        self.directory = directory
        self.signer = Signer(directory)

    def build(self, name, payload, deflate=True, with_script=True):
        """`payload` is a list of (bytes, name) pairs. Returns the path of the package."""
        sources = self.directory / "sources"
        sources.mkdir()
        command = [self.tool, "--key", self.signer.key, "--certificate", self.signer.certificate,
                   "--manufacturer", "QV", "--model", "QA01RTVN", "--version", VERSION,
                   "--system-version", VERSION, "--application-version", VERSION,
                   "--output", self.directory / name]
        written = {}
        for content, entry in payload:
            # The same object packed several times is written once: the large ones add up.
            if id(content) not in written:
                written[id(content)] = sources / str(len(written))
                written[id(content)].write_bytes(content)
            command += ["--firmware", written[id(content)], "payload/" + entry, entry]
        if with_script:
            (sources / "script").write_text("exit 0\n")
            command += ["--script", sources / "script", "payload/Script.run", "Script.run"]
        if not deflate:
            command.append("--store")
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        shutil.rmtree(sources)
        return self.directory / name

    def large(self, name, size, deflate):
        """A package of `size` bytes of payload in four files."""
        quarter = payload_bytes(size // 4, seed=1)
        return self.build(name, [(quarter, f"image-{i}") for i in range(4)], deflate)


def clean_environment():
    """Without the settings that make OpenSSL load certificate bundles a device does not have."""
    return {k: v for k, v in os.environ.items() if k not in ("SSL_CERT_FILE", "SSL_CERT_DIR")}
