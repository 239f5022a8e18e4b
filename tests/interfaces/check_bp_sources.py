#!/usr/bin/env python3
"""The device build (Android.bp) and the host build (CMake) compile the same code.

- The library and vircam-feed list the same sources in both.
- Every source a device module lists exists, and CMake builds it too (named in the
  CMakeLists.txt of its folder or a parent), unless it is a device stand-in listed below.
- The device tests are exactly the test files that need only the platform: a *Test.cpp that
  reaches no host kit control (hostkit/...) and no simulated HAL (sim) through its includes
  must be in a cc_test, and a cc_test must not list one that does.
"""
import os
import re
import sys

ROOT = sys.argv[1]
# Device-only stand-ins for host kit controls, with what they replace on the host.
DEVICE_ONLY = {"tests/fuzz/support/DeviceFuzzLogs.cpp": "tests/fuzz/support/HostFuzzLogs.cpp",
               "tests/fuzz/support/DeviceJsonOracle.cpp": "tests/fuzz/support/HostJsonOracle.cpp"}
# Where test sources live: the library's tests and the host kit's own.
TEST_ROOTS = ("tests/", "host/tests/")
failures = []


def read(path):
    with open(os.path.join(ROOT, path)) as f:
        return f.read()


def bp_modules(text):
    """(type, name, srcs) of each top-level module of an Android.bp."""
    text = re.sub(r"//[^\n]*", "", text)
    modules = []
    for match in re.finditer(r"^(\w+) \{\n(.*?)^\}", text, re.M | re.S):
        body = match.group(2)
        name = re.search(r'^    name: "([^"]+)"', body, re.M)
        srcs = re.search(r'^    srcs: \[(.*?)\]', body, re.M | re.S)
        modules.append((match.group(1), name.group(1) if name else None,
                        re.findall(r'"([^"]+)"', srcs.group(1)) if srcs else []))
    return modules


def cmake_list(path, opener):
    """The words after `opener` up to the closing parenthesis, in a CMakeLists.txt."""
    text = read(path)
    start = text.index(opener) + len(opener)
    return text[start:text.index(")", start)].split()


def same(what, bp, cmake):
    if sorted(bp) != sorted(cmake):
        failures.append("%s: Android.bp and CMake differ\n  only in Android.bp: %s\n  only in CMake: %s" % (
            what, sorted(set(bp) - set(cmake)), sorted(set(cmake) - set(bp))))


def built_by_cmake(source):
    folder, base = os.path.split(source)
    while True:
        cmake = os.path.join(ROOT, folder, "CMakeLists.txt")
        if os.path.exists(cmake) and re.search(r"(^|[\s/(])" + re.escape(base) + r"\b", read(cmake)):
            return True
        if not folder:
            return False
        folder = os.path.dirname(folder)


def includes(path):
    return re.findall(r'^\s*#include\s+[<"]([^>"]+)[>"]', read(path), re.M)


def reaches_host_only(path, seen=None):
    seen = set() if seen is None else seen
    if path in seen:
        return False
    seen.add(path)
    for name in includes(path):
        if name.startswith("hostkit/") or re.match(r"(hidl|aidl)/Sim", name):
            return True
        for folder in (os.path.dirname(path), "tests/support", "tests/fuzz", "."):
            candidate = os.path.normpath(os.path.join(folder, name))
            if candidate.startswith(TEST_ROOTS) and os.path.exists(os.path.join(ROOT, candidate)):
                if reaches_host_only(candidate, seen):
                    return True
                break
    return False


modules = bp_modules(read("Android.bp"))
by_name = {name: (kind, srcs) for kind, name, srcs in modules}
same("library sources", by_name["libvircamerawrapper_internal"][1],
     cmake_list("CMakeLists.txt", "set(VIRCAMERAWRAPPER_SOURCES"))
same("vircam-feed sources", by_name["vircam_feed_service"][1] + by_name["vircam-feed"][1],
     ["tools/vircam-feed/" + s for s in
      cmake_list("tools/vircam-feed/CMakeLists.txt", "add_library(vircamfeed_service STATIC") +
      cmake_list("tools/vircam-feed/CMakeLists.txt", "add_executable(vircam-feed")])

device_tests = set()
for kind, name, srcs in modules:
    for source in srcs:
        if not os.path.exists(os.path.join(ROOT, source)):
            failures.append("%s lists %s, which does not exist" % (name, source))
        elif source in DEVICE_ONLY:
            if not built_by_cmake(DEVICE_ONLY[source]):
                failures.append("%s stands in for %s, which CMake does not build" % (source, DEVICE_ONLY[source]))
        elif not built_by_cmake(source):
            failures.append("%s lists %s, which CMake does not build" % (name, source))
        if kind == "cc_test":
            device_tests.add(source)
            if reaches_host_only(source):
                failures.append("%s lists %s, which needs the host kit's controls or the simulated HAL" % (
                    name, source))

for root in TEST_ROOTS:
    for folder, _, files in os.walk(os.path.join(ROOT, root)):
        for file in files:
            source = os.path.relpath(os.path.join(folder, file), ROOT)
            if file.endswith("Test.cpp") and source not in device_tests and not reaches_host_only(source):
                failures.append("%s needs only the platform but no cc_test of Android.bp lists it" % source)

if failures:
    print("\n".join(failures))
sys.exit(1 if failures else 0)
