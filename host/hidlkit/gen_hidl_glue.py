#!/usr/bin/env python3
"""Writes the host glue of one HIDL package from its generated I<Name>.h files.

For each interface: descriptor, castFrom, getService, tryGetService,
registerAsService, registerForNotifications and a proxy class that forwards
every method to the service object through the host runtime, serving it
under the rules of hidl-gen's stubs on a thread of the service's process
(see hidlkit/HidlGlue.h). The proxy class
of each interface is also what local objects of it arrive as when passed
through a call.
"""
import argparse
import os
import re
import sys

METHOD = re.compile(r"^\s*virtual (::android::hardware::Return<.*>) (\w+)\((.*)\) = 0;\s*$")
CALLBACK = re.compile(r"^\s*using (\w+_cb) = std::function<")
STRUCT = re.compile(r"^struct (I\w+) : public (::[\w:]+) \{")
NAMESPACE = re.compile(r"^namespace (\w+) \{")
CAST = re.compile(r"castFrom\(const ::android::sp<([\w:]+)>& parent")
BASE = "::android::hidl::base::V1_0::IBase"


def split_params(text):
    params, depth, current = [], 0, ""
    for ch in text:
        if ch in "<(":
            depth += 1
        elif ch in ">)":
            depth -= 1
        if ch == "," and depth == 0:
            params.append(current.strip())
            current = ""
        else:
            current += ch
    if current.strip():
        params.append(current.strip())
    result = []
    for param in params:
        match = re.match(r"^(.*?)(\w+)$", param)
        if not match:
            sys.exit("cannot parse parameter '%s'" % param)
        result.append((match.group(1).strip(), match.group(2)))
    return result


def parse_interface(path):
    namespaces, name, parent, methods, callbacks, casts = [], None, None, [], set(), []
    with open(path) as header:
        for line in header:
            if name is None:
                ns = NAMESPACE.match(line)
                if ns:
                    namespaces.append(ns.group(1))
                st = STRUCT.match(line)
                if st:
                    name, parent = st.group(1), st.group(2)
                continue
            if line.startswith("};"):
                break
            cb = CALLBACK.match(line)
            if cb:
                callbacks.add(cb.group(1))
            m = METHOD.match(line)
            if m:
                methods.append((m.group(1), m.group(2), split_params(m.group(3))))
            for cast in CAST.findall(line):
                casts.append(cast)
    if name is None:
        sys.exit("%s: no interface found" % path)
    if parent != BASE:
        sys.exit("%s: interfaces extending %s are not supported on the host" % (path, parent))
    return namespaces, name, methods, callbacks, casts


def proxy_method(ret, method, params, callbacks):
    decl = ", ".join("%s %s" % (t, n) for t, n in params)
    lines = ["    %s %s(%s) override {" % (ret, method, decl)]
    callback = None
    args = []
    for ptype, pname in params:
        if ptype in callbacks:
            callback = (ptype, pname)
            args.append("_hidl_stub_cb")
        else:
            # Written to the parcel on the caller's thread, before the call is sent.
            lines.append("        auto _hidl_in_%s = ::hostkit::hidl::detail::sent(%s);" % (pname, pname))
            args.append("_hidl_in_%s" % pname)
    call = "mImpl->%s(%s)" % (method, ", ".join(args))
    if callback is not None:
        lines += [
            '        return callWithResults("%s", %s, [&](const %s& _hidl_stub_cb) {' % (method, callback[1], callback[0]),
            "            return %s;" % call,
            "        });",
        ]
    elif ret == "::android::hardware::Return<void>":
        lines.append('        return callVoid("%s", [&] { return %s; });' % (method, call))
    else:
        value = re.match(r"^::android::hardware::Return<(.*)>$", ret).group(1)
        lines.append('        return callValue<%s>("%s", [&] { return %s; });' % (value, method, call))
    lines.append("    }")
    return lines


def emit_interface(header, package):
    namespaces, name, methods, callbacks, casts = parse_interface(header)
    proxy = "HostProxy" + name
    out = ["namespace %s {" % ns for ns in namespaces]
    out += [
        "",
        'const char* %s::descriptor("%s::%s");' % (name, package, name),
        "",
        "namespace {",
        "",
        "class %s final : public ::hostkit::hidl::detail::HidlProxy<%s> {" % (proxy, name),
        "  public:",
        "    using HidlProxy::HidlProxy;",
    ]
    for ret, method, params in methods:
        out += proxy_method(ret, method, params, callbacks)
    out += [
        "};",
        "",
        "[[maybe_unused]] const bool k%sRegistered = ::hostkit::hidl::detail::registerProxyMaker(" % proxy,
        "        %s::descriptor, &::hostkit::hidl::detail::makeLocalProxy<%s, %s>);" % (name, name, proxy),
        "",
        "}  // namespace",
        "",
    ]
    ret_sp = "::android::hardware::Return<::android::sp<%s>>" % name
    for cast in casts:
        out += [
            "%s %s::castFrom(const ::android::sp<%s>& parent, bool /*emitError*/) {" % (ret_sp, name, cast),
            "    return ::hostkit::hidl::detail::castFrom<%s>(parent);" % name,
            "}",
        ]
    for fn, wait in (("tryGetService", "false"), ("getService", "true")):
        out += [
            "::android::sp<%s> %s::%s(const std::string& serviceName, bool getStub) {" % (name, name, fn),
            "    return ::hostkit::hidl::detail::getService<%s, %s>(serviceName, getStub, %s);"
            % (name, proxy, wait),
            "}",
        ]
    out += [
        "::android::status_t %s::registerAsService(const std::string& serviceName) {" % name,
        "    return ::hostkit::hidl::detail::registerService(descriptor, serviceName, this);",
        "}",
        "bool %s::registerForNotifications(const std::string& /*serviceName*/," % name,
        "        const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>& /*notification*/) {",
        "    return false;",
        "}",
        "",
    ]
    out += ["}  // namespace %s" % ns for ns in reversed(namespaces)]
    return name, namespaces, out


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--package", required=True)
    parser.add_argument("--output", required=True)
    parser.add_argument("headers", nargs="+")
    options = parser.parse_args()
    name, version = options.package.split("@")
    package_path = "%s/%s" % (name.replace(".", "/"), version)
    body, includes = [], []
    for header in sorted(options.headers):
        name, _, lines = emit_interface(header, options.package)
        includes.append("#include <%s/%s.h>" % (package_path, name))
        body += [""] + lines
    text = ["// Generated by gen_hidl_glue.py for %s. Do not edit." % options.package, ""]
    text += includes + ["", "#include <hidlkit/HidlGlue.h>"] + body
    os.makedirs(os.path.dirname(os.path.abspath(options.output)), exist_ok=True)
    with open(options.output, "w") as out:
        out.write("\n".join(text) + "\n")


if __name__ == "__main__":
    main()
