#!/usr/bin/env python3
"""The table docs/exports.md: every exported function, where it is exported and where its work is done.

scripts/exports-table.py           writes the table
scripts/exports-table.py --check   fails when it differs from what the code gives, or the code from the list of exports
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "docs/exports.md"
HEAD = """# The exported functions

Each of them with the file of `src/frame/` that exports it and the file that does its work; where the two are one, the
second column is empty. Written by `scripts/exports-table.py`; a test fails when it is out of date. What the functions
mean stands in `include/keystrand/keystrand.h`, in this order.
"""


def signature(name, parameters):
    """Name and parameter types: the last word of a parameter, unless it is its type, is its name."""
    types = []
    for parameter in filter(None, (p.strip() for p in parameters.replace("keystrand::", "").split(","))):
        parameter = re.sub(r"\s+", " ", parameter)
        types.append(re.sub(r"([*&]|\w )\s*\w+$", r"\1", parameter).strip())
    return f"{name}({', '.join(types)})"


def declarations():
    """(section, signature) in the order of the header."""
    text = (ROOT / "include/keystrand/keystrand.h").read_text()
    section = ""
    for match in re.finditer(r"^// --- (.*)$|^KEYSTRAND_API [^;(]*?(\w+)\(([^)]*)\);", text, re.M):
        if match[1]:
            section = match[1]
        else:
            yield section, signature(match[2], match[3])


def definitions(folder):
    """(signature, body, file) of the functions that are defined at the left margin."""
    for path in sorted((ROOT / "src" / folder).glob("*.cpp")):
        text = path.read_text()
        for match in re.finditer(r"^[A-Za-z_][^\n;(]*?([\w:]+)\(([^)]*)\)[^;{}\n]*\{(.*?)^\}", text, re.M | re.S):
            yield match[1], match[2], match[3], path


def workers():
    """File of each member of the two context classes; of overloads in several files the first."""
    found = {}
    for folder in ("cache", "ocsp"):
        for name, _, _, path in definitions(folder):
            if name.startswith(("CACache::", "OCSPChecker::")):
                found.setdefault(name.split("::")[1], path)
    return found


def relative(path):
    return f"`{path.relative_to(ROOT / 'src')}`"


def worker(body, members, helpers, depth=2):
    """Where the first member is that the body calls, itself or through another function of the frame."""
    for name in re.findall(r"(?:\bc\.|\)->|CACache::|OCSPChecker::)(\w+)\(", body):
        if name in members:
            return relative(members[name])
    for name in re.findall(r"\b(\w+)\(", body) if depth else []:
        for other in helpers.get(name, []):
            if found := worker(other, members, helpers, depth - 1):
                return found
    return ""


def table():
    exported, helpers, members = {}, {}, workers()
    for name, parameters, body, path in definitions("frame"):
        exported[signature(name, parameters)] = body, path
        helpers.setdefault(name, []).append(body)
    lines, current = [HEAD], None
    for section, function in declarations():
        if function not in exported:
            sys.exit(f"no definition of {function} in src/frame")
        if section != current:
            lines.append(f"## {section}\n\n| function | exported in | does the work |\n|---|---|---|")
            current = section
        body, path = exported[function]
        lines.append(f"| `{function}` | {relative(path)} | {worker(body, members, helpers)} |")
    text = "\n".join(lines) + "\n"
    return re.sub(r"\n(## )", r"\n\n\1", text).replace("\n\n\n", "\n\n")


def names(signatures):
    return sorted(text.split("(")[0] for text in signatures if re.match(r"(cache|ocsp)_", text))


def main():
    wanted = names((ROOT / "tests/abi/exports.txt").read_text().splitlines())
    if names(function for _, function in declarations()) != wanted:
        sys.exit("keystrand.h and tests/abi/exports.txt name different functions")
    text = table()
    if "--check" not in sys.argv:
        TABLE.write_text(text)
    elif TABLE.read_text() != text:
        sys.exit("docs/exports.md is out of date: run scripts/exports-table.py")


main()
