#!/usr/bin/env python3
"""Fails unless the library of this build is compiled and linked under the device's rules.

Usage: check_device_rules.py <compile_commands.json> <library .so> <readelf>

1. Every library source's compile command carries each device flag.
2. Small probes compiled with a library source's real command must fail for the reason the
   device would reject them (a later flag such as -fexceptions would undo an earlier one, so
   the flags alone do not prove it), and a well-formed probe must compile.
3. The shared library is linked with immediate binding (-z now).
4. No library source calls String8::string() or String16::string(): Debian's libutils still
   has them public, current Android 14 releases made them private (c_str() works on all).
"""
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile

LIBRARY_OBJECTS = "CMakeFiles/vircamerawrapper_objects.dir/"
# Soong's flags for device C++; written out here, not taken from the build, so that a flag
# dropped from the CMake list is caught too.
DEVICE_FLAGS = [
    "-fno-exceptions", "-fno-rtti", "-Wall", "-Wextra", "-Werror",
    "-Werror=non-virtual-dtor", "-Werror=return-type", "-Werror=format-security",
    "-Wthread-safety", "-fstack-protector-strong", "-D_FORTIFY_SOURCE=2",
]

WELL_FORMED = """
#include <utils/Mutex.h>
class Counter {
  public:
    void Add() EXCLUDES(mLock) { android::Mutex::Autolock lock(mLock); ++mCount; }
  private:
    android::Mutex mLock;
    int mCount GUARDED_BY(mLock) = 0;
};
void Use() { Counter c; c.Add(); }
"""

# name: (source, text the compiler must report)
REJECTED = {
    "exceptions": ("void F() { try { } catch (...) { } }", "exceptions disabled"),
    "rtti": ("#include <typeinfo>\nstruct B { virtual ~B(); };\n"
             "const char* F(B& b) { return typeid(b).name(); }", "requires -frtti"),
    "thread safety": ("#include <utils/Mutex.h>\nstruct C { android::Mutex m; int n GUARDED_BY(m); };\n"
                      "void F(C& c) { c.n = 1; }", "-Wthread-safety"),
    "non-virtual destructor": ("struct B { virtual void F(); ~B(); };", "-Werror,-Wnon-virtual-dtor"),
    "format security": ("#include <cstdio>\nvoid F(const char* s) { std::printf(s); }",
                        "-Werror,-Wformat-security"),
}


def arguments(entry):
    return shlex.split(entry["command"]) if "command" in entry else list(entry["arguments"])


def probe_command(entry, probe):
    """The library source's command, compiling `probe` instead, syntax only."""
    args = arguments(entry)
    result = []
    skip_next = False
    for arg in args:
        if skip_next:
            skip_next = False
        elif arg == "-o":
            skip_next = True
        elif arg == "-c":
            continue
        elif os.path.abspath(os.path.join(entry["directory"], arg)) == os.path.abspath(
                os.path.join(entry["directory"], entry["file"])):
            result.append(probe)
        else:
            result.append(arg)
    return result + ["-fsyntax-only"]


def compile_probe(entry, source, workdir, name):
    path = os.path.join(workdir, name.replace(" ", "_") + ".cpp")
    with open(path, "w") as f:
        f.write(source + "\n")
    result = subprocess.run(probe_command(entry, path), cwd=entry["directory"],
                            capture_output=True, text=True)
    return result.returncode, result.stdout + result.stderr


PRIVATE_STRING_ACCESSOR = re.compile(r"\.string\(\)")


def private_accessor_uses(entries):
    """Every .cpp/.h in the library's source folders that calls string()."""
    folders = {os.path.dirname(os.path.join(e["directory"], e["file"])) for e in entries}
    found = []
    for folder in sorted(folders):
        for name in sorted(os.listdir(folder)):
            if not name.endswith((".cpp", ".h")):
                continue
            path = os.path.join(folder, name)
            with open(path, encoding="utf-8", errors="replace") as f:
                found += [f"{path}:{number}: String8/String16::string() is private on current "
                          "devices; use c_str()"
                          for number, line in enumerate(f, 1) if PRIVATE_STRING_ACCESSOR.search(line)]
    return found


def main():
    if len(sys.argv) != 4:
        print(__doc__.strip().splitlines()[2], file=sys.stderr)
        return 2
    compile_commands, library, readelf = sys.argv[1:]
    with open(compile_commands) as f:
        entries = [e for e in json.load(f) if LIBRARY_OBJECTS in e.get("output", e.get("command", ""))]
    errors = []
    if not entries:
        errors.append("no library sources in " + compile_commands)
    for entry in entries:
        missing = [flag for flag in DEVICE_FLAGS if flag not in arguments(entry)]
        if missing:
            errors.append(f"{entry['file']}: compiled without {' '.join(missing)}")

    errors.extend(private_accessor_uses(entries))

    if entries:
        with tempfile.TemporaryDirectory() as workdir:
            status, output = compile_probe(entries[0], WELL_FORMED, workdir, "well formed")
            if status != 0:
                errors.append("a well-formed probe does not compile with the library's command:\n"
                              + output)
            for name, (source, diagnostic) in REJECTED.items():
                status, output = compile_probe(entries[0], source, workdir, name)
                if status == 0 or diagnostic not in output:
                    errors.append(f"the library's command does not reject {name} "
                                  f"(expected '{diagnostic}'):\n{output}")

    dynamic = subprocess.run([readelf, "-d", library], capture_output=True, text=True).stdout
    if "BIND_NOW" not in dynamic:
        errors.append(f"{library} is not linked with -z now")

    for error in errors:
        print("device rules: " + error, file=sys.stderr)
    if errors:
        return 1
    print(f"device rules: {len(entries)} library sources compiled under the device's rules")
    return 0


if __name__ == "__main__":
    sys.exit(main())
