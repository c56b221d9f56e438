"""The command line of firmware-pack that makes the package a recipe describes."""

import os

REQUIRED = {
    "CORVANE_KEY": "--key",
    "CORVANE_CERTIFICATE": "--certificate",
    "CORVANE_MANUFACTURER": "--manufacturer",
    "CORVANE_MODEL": "--model",
    "CORVANE_VERSION": "--version",
    "CORVANE_SYSTEM_VERSION": "--system-version",
    "CORVANE_APPLICATION_VERSION": "--application-version",
}


def command(d):
    """Returns the arguments. `d` is the recipe's data store; ValueError says what is wrong with it."""
    arguments = []
    for variable, option in REQUIRED.items():
        value = d.getVar(variable)
        if not value:
            raise ValueError("%s is not set" % variable)
        arguments += [option, value]
    for revision in (d.getVar("CORVANE_HW_REVS") or "").split():
        arguments += ["--hw-rev", revision]
    payload = (d.getVar("CORVANE_PAYLOAD") or "").split()
    if not payload:
        raise ValueError("CORVANE_PAYLOAD names no file")
    for entry in payload:
        arguments += _payload(entry, d.getVar("CORVANE_FILES_DIR"))
    if d.getVar("CORVANE_STORE") == "1":
        arguments.append("--store")
    return arguments + ["--output", os.path.join(d.getVar("B"), d.getVar("CORVANE_PACKAGE_NAME"))]


def _payload(entry, directory):
    source, *parameters = entry.split(";")
    values = {"kind": "firmware", "name": os.path.basename(source)}
    for parameter in parameters:
        key, equals, value = parameter.partition("=")
        if key not in ("kind", "name", "path") or not equals or not value:
            raise ValueError("%s: '%s' is not kind=, name= or path= with a value" % (entry, parameter))
        values[key] = value
    if values["kind"] not in ("firmware", "script"):
        raise ValueError("%s: the kind is firmware or script" % entry)
    return ["--" + values["kind"], os.path.join(directory, source), values["name"],
            values.get("path", values["name"])]
