#!/usr/bin/env python3
"""Compiles every library source of a device-rules build once more against libc++.

Usage: scripts/libcxx_syntax.py <build dir>

The device's C++ library is libc++, the host build's is libstdc++. Debian's Android
libraries and jsoncpp are built for libstdc++ and cannot be linked against libc++, so each
source is only checked (-fsyntax-only), with the exact command of the real build (same
include paths, same device flags) plus -stdlib=libc++ and libc++'s thread-safety
annotations on std::mutex. Exits non-zero if any source fails.
"""
import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

LIBRARY_OBJECTS = "CMakeFiles/vircamerawrapper_objects.dir/"
LIBCXX_FLAGS = ["-stdlib=libc++", "-D_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS", "-fsyntax-only"]


def syntax_command(entry):
    """The build's command for this source, turned into a libc++ syntax check."""
    args = shlex.split(entry["command"]) if "command" in entry else list(entry["arguments"])
    checked = []
    skip_next = False
    for arg in args:
        if skip_next:
            skip_next = False
        elif arg == "-o":
            skip_next = True
        elif arg != "-c":
            checked.append(arg)
    return checked[:1] + LIBCXX_FLAGS + checked[1:]


def is_library_source(entry):
    return LIBRARY_OBJECTS in entry.get("output", "") or LIBRARY_OBJECTS in entry.get("command", "")


def check(entry):
    command = syntax_command(entry)
    result = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True)
    return entry["file"], result.returncode, result.stdout + result.stderr


def main():
    if len(sys.argv) != 2:
        print(__doc__.strip().splitlines()[2], file=sys.stderr)
        return 2
    with open(os.path.join(sys.argv[1], "compile_commands.json")) as f:
        entries = [e for e in json.load(f) if is_library_source(e)]
    if not entries:
        print("libc++ syntax: no library sources in compile_commands.json", file=sys.stderr)
        return 1
    if not all("-fno-exceptions" in e.get("command", " ".join(e.get("arguments", [])))
               for e in entries):
        print("libc++ syntax: not a device-rules build (configure with -DVIRCAM_DEVICE_RULES=ON)",
              file=sys.stderr)
        return 1
    failed = []
    with ThreadPoolExecutor(max_workers=os.cpu_count() or 2) as pool:
        for source, status, output in pool.map(check, entries):
            if status != 0 or output.strip():
                failed.append(source)
                print(f"libc++ syntax: {source}\n{output}", file=sys.stderr)
    if failed:
        print(f"libc++ syntax: {len(failed)} of {len(entries)} library sources failed", file=sys.stderr)
        return 1
    print(f"libc++ syntax: {len(entries)} library sources clean")
    return 0


if __name__ == "__main__":
    sys.exit(main())
