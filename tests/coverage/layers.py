#!/usr/bin/env python3
"""Checks that the product's folders are layers: each includes only what lies
below it, none of them anything around the product.

    layers.py SOURCE_ROOT               the product as it is
    layers.py SOURCE_ROOT --self-check  the same with made-up includes, each of
                                        which has to be reported
"""
import pathlib
import re
import sys

RING = ("video/frame_buffer.h", "video/frame_queue.h")
# What a folder may include beside itself: folders, or single headers of one.
MAY_INCLUDE = {
    "api": (),
    "runtime": ("api",),
    "usb": ("api", "runtime"),
    "devcmd": ("api", "runtime", "usb"),
    "video": ("api", "runtime", "usb", "devcmd"),
    "audio": ("api", "runtime", "usb", "devcmd", *RING),
    "firmware": ("api", "runtime", "usb", "devcmd"),
    "control": ("api", "runtime", "usb", "devcmd", "video", "audio", "firmware"),
    "camera": ("api", "runtime", "usb", "devcmd", "video", "audio", "firmware", "control"),
}
INCLUDE = re.compile(r"^[ \t]*#[ \t]*include(?:_next)?[ \t]*(.*)$", re.M)
NAME = re.compile(r'(["<])([^">]+)[">]')


def folder_of(name):
    return name.split("/")[0] if "/" in name else ""


def built_folders(root):
    """What the build takes its sources from."""
    listed = re.search(r"set\(PRODUCT_FOLDERS ([^)]*)\)", (root / "cmake/product.cmake").read_text())
    return {folder_of(folder + "/") for folder in listed.group(1).split()}


def read_product(root):
    """The text of every source, by its name from the root."""
    return {path.relative_to(root).as_posix(): path.read_text()
            for folder in MAY_INCLUDE
            for path in sorted((root / folder).rglob("*"))
            if path.suffix in (".h", ".cpp", ".c", ".hpp", ".inc")}


def includes_of(text, inside):
    """Names from the root; `inside` tells a header of ours in angle brackets
    from the system's. One that is not plain text comes as it stands."""
    for line in INCLUDE.findall(text):
        match = NAME.match(line)
        if match is None:
            yield line
        elif match.group(1) == '"' or inside(match.group(2)):
            yield match.group(2)


def fault_of(source, name, sources):
    """What is wrong with this include; None when nothing is."""
    here, there = folder_of(source), folder_of(name)
    if there not in MAY_INCLUDE:
        return "is not of the product"
    if name not in sources:
        return "does not exist"
    if there != here and there not in MAY_INCLUDE[here] and name not in MAY_INCLUDE[here]:
        return f"is nothing that {here} may include"
    return None


def find_cycle(edges):
    """Folders that include each other in a ring, or None."""
    done = set()

    def walk(folder, way):
        if folder in way:
            return way[way.index(folder):] + [folder]
        if folder in done:
            return None
        for below in sorted(edges.get(folder, ())):
            cycle = walk(below, way + [folder])
            if cycle:
                return cycle
        done.add(folder)
        return None

    for folder in sorted(edges):
        cycle = walk(folder, [])
        if cycle:
            return cycle
    return None


def check(sources, root):
    """Faults, and how many includes each folder has of each other one."""
    faults = []
    edges = {}
    for source, text in sources.items():
        for name in includes_of(text, lambda name: (root / name).exists()):
            fault = fault_of(source, name, sources)
            if fault:
                faults.append(f"{source}: {name} {fault}")
            if folder_of(name) in MAY_INCLUDE and folder_of(name) != folder_of(source):
                below = edges.setdefault(folder_of(source), {})
                below[folder_of(name)] = below.get(folder_of(name), 0) + 1
    cycle = find_cycle(edges)
    if cycle:
        faults.append("folders in a ring: " + " -> ".join(cycle))
    return faults, edges


# A line that is put into a source, and what has to be said of it.
MADE_UP = (
    ("usb/transfer_slots.h", '#include "devcmd/control_transfer.h"',
     "devcmd/control_transfer.h is nothing that usb may include"),
    ("runtime/mutex.h", '#include "usb/usb_context.h"',
     "usb/usb_context.h is nothing that runtime may include"),
    ("video/frame_assembler.cpp", '  #  include "audio/uac_transport.h"',
     "audio/uac_transport.h is nothing that video may include"),
    ("audio/uac_chunks.cpp", '#include "video/uvc_transport.h"',
     "video/uvc_transport.h is nothing that audio may include"),
    ("firmware/firmware_loader.cpp", '#include "video/frame_queue.h"',
     "video/frame_queue.h is nothing that firmware may include"),
    ("control/properties/ptz.cpp", '#include "camera/camera.h"',
     "camera/camera.h is nothing that control may include"),
    ("api/cam_types.h", '#include "runtime/mutex.h"',
     "runtime/mutex.h is nothing that api may include"),
    ("api/cam_types.h", "#include <runtime/mutex.h>",
     "runtime/mutex.h is nothing that api may include"),
    ("camera/camera.h", '#include "tests/support/wait_until.h"',
     "tests/support/wait_until.h is not of the product"),
    ("camera/camera.h", "#include <virtual_camera/usb_device.h>",
     "virtual_camera/usb_device.h is not of the product"),
    ("camera/camera.h", '#include "../host/host.h"', "../host/host.h is not of the product"),
    ("camera/camera.h", '#include "shell.h"', "shell.h is not of the product"),
    ("camera/camera.h", '#include "camera/no_such.h"', "camera/no_such.h does not exist"),
    ("camera/camera.h", "#include HEADER", "HEADER is not of the product"),
)
HARMLESS = (
    ("usb/transfer_slots.h", '// #include "video/uvc_transport.h"'),
    ("usb/transfer_slots.h", "#include <sys/stat.h>"),
    ("audio/uac_chunks.cpp", '#include "video/frame_queue.h"'),
)


def with_line(sources, name, line):
    return {**sources, name: sources[name] + "\n" + line + "\n"}


def self_check(sources, root):
    """What the check fails to see, or sees where nothing is."""
    before = set(check(sources, root)[0])
    failed = []
    for name, line, text in MADE_UP:
        new = set(check(with_line(sources, name, line), root)[0]) - before
        if f"{name}: {text}" not in new:
            failed.append(f"{name} with {line!r}: {sorted(new)}")
    for name, line in HARMLESS:
        new = set(check(with_line(sources, name, line), root)[0]) - before
        if new:
            failed.append(f"{name} with {line!r}: {sorted(new)}")
    ring = check(with_line(sources, "runtime/mutex.h", '#include "usb/usb_context.h"'), root)[0]
    if "folders in a ring: runtime -> usb -> runtime" not in ring:
        failed.append(f"no ring of runtime and usb: {ring}")
    if find_cycle({"a": {"b"}, "b": {"c"}, "c": {"a"}}) != ["a", "b", "c", "a"]:
        failed.append("no ring of three")
    if find_cycle({"a": {"b", "c"}, "b": {"c"}}) is not None:
        failed.append("a ring where there is none")
    return failed


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    sources = read_product(root)
    if "--self-check" in sys.argv:
        failed = self_check(sources, root)
        print(f"{len(MADE_UP)} made-up includes, {len(failed)} answers that are wrong")
        faults = failed
    else:
        faults, edges = check(sources, root)
        faults += [f"{folder} is built but is no layer"
                   for folder in sorted(built_folders(root) - MAY_INCLUDE.keys())]
        faults += [f"{folder} is a layer without sources" for folder in MAY_INCLUDE
                   if not any(folder_of(source) == folder for source in sources)]
        for folder in MAY_INCLUDE:
            below = edges.get(folder, {})
            print(f"{folder:9}", ", ".join(f"{name} {below[name]}"
                                           for name in MAY_INCLUDE if name in below))
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
