#!/usr/bin/env python3
"""Reads tests/mutants.txt and applies one mutant at a time; scripts/mutate.sh drives it.

Format: entries separated by blank lines; '#' lines are comments. Each entry:

    id: unique-name
    file: path/from/the/repository/root.cpp
    tests: ctest regex run first (optional; the rest of the suite runs only if it passes)
    reason: one line saying what the mutant breaks; "equivalent: why" marks one that no test
            can tell from the original (listed, never run)
    - original line (exact text after "- "; several "-" lines form one block)
    + replacement line (same; no "+" line deletes the original)

The original text must occur exactly once in its file, so a mutant follows its code when
lines move and says "does not apply" when the code was rewritten.
"""
import sys
from pathlib import Path

FIELDS = ("id", "file", "tests", "reason")


def parse(path):
    mutants, errors = [], []
    entry = None
    for number, raw in enumerate(Path(path).read_text().splitlines(), 1):
        line = raw.rstrip("\n")
        if line.startswith("#"):
            continue
        if not line.strip():
            entry = None
            continue
        if entry is None:
            entry = {"line": number, "old": [], "new": [], "tests": ""}
            mutants.append(entry)
        if line.startswith("-") or line.startswith("+"):
            text = line[2:] if len(line) > 1 else ""
            if len(line) > 1 and line[1] != " ":
                errors.append(f"{path}:{number}: '-'/'+' must be followed by one space")
            entry["old" if line[0] == "-" else "new"].append(text)
            continue
        key, sep, value = line.partition(":")
        if not sep or key not in FIELDS:
            errors.append(f"{path}:{number}: expected one of {', '.join(FIELDS)}, '-' or '+'")
            continue
        entry[key] = value.strip()
    seen = set()
    for m in mutants:
        where = f"{path}:{m['line']}"
        for key in ("id", "file", "reason"):
            if not m.get(key):
                errors.append(f"{where}: missing '{key}'")
        if not m["old"]:
            errors.append(f"{where}: no '-' line")
        if m.get("id") in seen:
            errors.append(f"{where}: duplicate id {m['id']}")
        seen.add(m.get("id"))
        m["old"] = "\n".join(m["old"])
        m["new"] = "\n".join(m["new"])
    return mutants, errors


def applicability(m):
    path = Path(m["file"])
    if not path.is_file():
        return "does not apply: no such file"
    count = path.read_text().count(m["old"])
    if count != 1:
        return f"does not apply: original text found {count} times"
    return "ok"


def selected(mutants, only, prefixes):
    for m in mutants:
        if only and m["id"] not in only:
            continue
        if prefixes and not any(m["file"].startswith(p) for p in prefixes):
            continue
        yield m


def main(argv):
    if len(argv) < 3:
        print("usage: mutants.py LIST_FILE check [--only ID,ID] [PREFIX...] | apply ID", file=sys.stderr)
        return 2
    mutants, errors = parse(argv[1])
    if errors:
        print("\n".join(errors), file=sys.stderr)
        return 2
    command, args = argv[2], argv[3:]
    if command == "check":
        only = set()
        prefixes = []
        while args:
            arg = args.pop(0)
            if arg == "--only":
                only |= {i for i in args.pop(0).split(",") if i}
            else:
                prefixes.append(arg)
        unknown = only - {m["id"] for m in mutants}
        if unknown:
            print(f"unknown mutant id(s): {', '.join(sorted(unknown))}", file=sys.stderr)
            return 2
        # One tab-separated line per selected mutant: id, file, status, tests, reason.
        for m in selected(mutants, only, prefixes):
            status = applicability(m)
            if status == "ok" and m["reason"].lower().startswith("equivalent"):
                status = "equivalent"  # kept to show it was considered; never run
            print("\t".join((m["id"], m["file"], status, m["tests"], m["reason"])))
        return 0
    if command == "apply" and len(args) == 1:
        m = next((m for m in mutants if m["id"] == args[0]), None)
        if m is None or applicability(m) != "ok":
            print(f"cannot apply {args[0]}", file=sys.stderr)
            return 1
        path = Path(m["file"])
        path.write_text(path.read_text().replace(m["old"], m["new"], 1))
        return 0
    print(f"unknown command {command}", file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
