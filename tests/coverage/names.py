#!/usr/bin/env python3
"""Checks names that others look for in the product's code and symbols.

Whoever looks into a process with a debugger finds these things under these
names. Comments and strings do not count.

    names.py SOURCE_ROOT
"""
import pathlib
import re
import sys

PRODUCT = ("api", "runtime", "devcmd", "video", "audio", "firmware", "control", "camera")
# Name, and the class that has it as a member; empty: anywhere.
NAMES = (
    ("m_State", ""),
    ("m_observers", ""),
    ("m_audio_observers", "CKelVeskCamera"),
    ("m_crop_flag", "CKelVeskCamera"),
    ("m_crop_x", "CKelVeskCamera"),
    ("m_crop_y", "CKelVeskCamera"),
    ("m_pending_crop_x", ""),
    ("m_pending_crop_y", ""),
    ("m_send_jpeg", ""),
    ("m_start_stop_preview_lock", ""),
    ("m_video_ctrl_lock", ""),
    ("m_observer_lock", ""),
    ("m_audio_observer_lock", ""),
    ("deviceExists", "KelUvcCapture"),
    ("deviceExists", "CAudioCapture"),
    ("BOOTCODE_MAGIC", ""),
)
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)+\'', re.S)


def code_of(path):
    return NO_CODE.sub(" ", path.read_text())


def bodies(code, name):
    """Bodies of the classes of this name."""
    for head in re.finditer(r"\b(?:class|struct)\s+(?:\w+\s+)?" + name + r"\b[^;{]*\{", code):
        depth = 1
        end = head.end()
        while depth > 0 and end < len(code):
            depth += {"{": 1, "}": -1}.get(code[end], 0)
            end += 1
        yield code[head.end():end]


def main():
    root = pathlib.Path(sys.argv[1])
    sources = [code_of(path) for folder in PRODUCT
               for path in sorted((root / folder).glob("*.h")) +
               sorted((root / folder).glob("*.cpp"))]
    missing = 0
    for name, owner in NAMES:
        places = [body for code in sources for body in bodies(code, owner)] if owner else sources
        found = sum(len(re.findall(r"\b" + name + r"\b", place)) for place in places)
        print(f"{name:28} {owner or 'anywhere':16} {found:3} times")
        if owner and not places:
            print(f"there is no class {owner}")
        missing += found == 0
    return 1 if missing or not sources else 0


if __name__ == "__main__":
    sys.exit(main())
