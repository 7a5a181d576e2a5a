#!/usr/bin/env python3
"""Checks that the documents name what there is.

Files named in the documents exist. In docs/architecture.md each name stands in
the files of its row, and the table of names in the log has every function under
whose name the product logs, with every file that does so.

    places.py SOURCE_ROOT
"""
import pathlib
import re
import sys

DOCUMENTS = ("README.md", "CONTRIBUTING.md", "docs/architecture.md", "docs/testing.md",
             "virtual_camera/README.md")
PRODUCT = ("api", "runtime", "usb", "devcmd", "video", "audio", "firmware", "control", "camera")
MADE = ("build", "out")  # by a build, so not in the tree
QUOTED = re.compile(r"`([^`\n]+)`")
PATH = re.compile(r"[\w.-]+(?:/[\w.*-]+)*/?")
NAME = re.compile(r"~?[A-Za-z_]\w*")
# A literal, a constant, or an argument, which the call elsewhere has told.
LOG_AS = re.compile(r"\bCAM_LOG_AS\(\s*([\w.\"]+)")
LOG = re.compile(r"\bCAM_LOG\(")
ARGUMENT = re.compile(r"\bCAM_LOG_AS\(request\.procedure")
CONSTANT = re.compile(r"\bconstexpr char (\w+)\[\] = \"(\w+)\"")
DEFINITION = re.compile(r"^[A-Za-z_].*?(~?\w+)\(")


def paths_of(text, root):
    """Quoted paths of the tree, without those that stand for any name."""
    for quoted in QUOTED.findall(text):
        top = quoted.split("/")[0]
        if PATH.fullmatch(quoted) and "/" in quoted and top not in MADE:
            if (root / top).exists() and not re.search(r"/[A-Z]+(/|$)", quoted):
                yield quoted


def files_of(path):
    return [path[:-1] + "h", path[:-1] + "cpp"] if path.endswith(".*") else [path]


def code_of(path):
    return re.sub(r"//[^\n]*", "", path.read_text())


def rows_of(text):
    """Names and files of each row of the tables behind "Names and where"."""
    section = text.split("\n## Names and where they live\n")[1].split("\n## ")[0]
    for table in section.split("\n\n"):
        lines = table.strip().split("\n")
        if lines[0].startswith("|"):
            yield [([name for name in QUOTED.findall(line.split("|")[1]) if NAME.fullmatch(name)],
                    [file for path in QUOTED.findall(line.split("|")[-2]) if "/" in path
                     for file in files_of(path)])
                   for line in lines[2:]]


def holds(code, name):
    return re.search(r"(?<![\w~])" + re.escape(name) + r"\b", code) is not None


def log_names(path):
    """Names that the lines of a file stand under."""
    function = ""
    constants = {"kSetProperty": "SetProperty", "kGetProperty": "GetProperty"}
    for line in code_of(path).split("\n"):
        constants.update(CONSTANT.findall(line))
        definition = DEFINITION.match(line)
        if definition:
            function = definition.group(1)
        if line.startswith("#define"):
            continue
        if LOG.search(line):
            yield function
        for name in LOG_AS.findall(line):
            name = constants.get(name, name)
            if name.startswith('"') or name in constants.values():
                yield name.strip('"')


def main():
    root = pathlib.Path(sys.argv[1])
    faults = []
    named = 0
    for document in DOCUMENTS:
        text = (root / document).read_text()
        for base in {root, (root / document).parent}:
            for path in paths_of(text, base):
                named += 1
                faults += [f"{document}: there is no {file}" for file in files_of(path)
                           if not (base / file).exists()]

    used = {(name, path.relative_to(root).as_posix()) for folder in PRODUCT
            for pattern in ("*.cpp", "*.h") for path in (root / folder).rglob(pattern)
            for name in log_names(path)}
    places, lines = rows_of((root / "docs/architecture.md").read_text())
    for names, files in places + lines:
        codes = {file: code_of(root / file) for file in files if (root / file).exists()}
        faults += [f"{name} is in none of {', '.join(files)}" for name in names
                   if not any(holds(code, name) for code in codes.values())]
        faults += [f"{file} has none of {', '.join(names)}" for file, code in codes.items()
                   if not any(holds(code, name) or (name, file) in used for name in names)
                   and not ARGUMENT.search(code)]
    told = {(name, file) for names, files in lines for name in names for file in files}
    faults += [f"docs/architecture.md does not tell that {file} logs as {name}"
               for name, file in sorted(used - told)]

    print(f"{named} paths, {len(places)} rows of names, {len(lines)} of the log "
          f"for {len(used)} places")
    for fault in faults:
        print(fault)
    return 1 if faults or not (named and places and lines and used) else 0


if __name__ == "__main__":
    sys.exit(main())
