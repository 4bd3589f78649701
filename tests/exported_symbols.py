#!/usr/bin/python3
"""Checks that libqorcalc.so exports its public headers and nothing else.

    exported_symbols.py LIBRARY HEADER_DIR

What the headers promise is read from the QORCALC_API declarations in
HEADER_DIR: exported classes (their public and protected members, vtables
and type information), exported free functions, and the C entry points
declared inside extern "C", which must be exported by their plain names.
Every dynamic symbol the library defines must be one of those, and every
exported free function and C entry point must be there.  A new QORCALC_API
declaration is picked up without touching this script.
"""

import re
import subprocess
import sys
from pathlib import Path

ACCESS = re.compile(r"\b(public|protected|private)\s*:(?!:)")
CLASS = re.compile(r"\b(class|struct)\s+QORCALC_API\s+(\w+)[^;{]*\{")
NAMESPACE = re.compile(r"\bnamespace\s+([\w:]+)\s*\{")
EXTERN_C_BLOCK = re.compile(r'extern\s+"C"\s*\{')
FUNCTION_NAME = re.compile(r"(operator\s*(?:\(\)|[^\s(]+)|~?\w+)\s*\(")


def strip_comments(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    text = re.sub(r"//[^\n]*", " ", text)
    return re.sub(r'"(?:\\.|[^"\\])*"', lambda m: '"C"' if m.group(0) == '"C"' else '""', text)


def matching_brace(text, open_at):
    depth = 0
    for i in range(open_at, len(text)):
        if text[i] == "{":
            depth += 1
        elif text[i] == "}":
            depth -= 1
            if depth == 0:
                return i
    raise ValueError("unbalanced braces")


def top_level(body):
    """The body's text at brace depth 0, with nested bodies cut out."""
    out, depth = [], 0
    for ch in body:
        if ch == "{":
            depth += 1
            if depth == 1:
                out.append(";")
        elif ch == "}":
            depth -= 1
        elif depth == 0:
            out.append(ch)
    return "".join(out)


def function_name(statement):
    match = FUNCTION_NAME.search(statement)
    return re.sub(r"\s+", "", match.group(1)) if match else None


class Api:
    def __init__(self):
        self.classes = {}      # class name -> member names hosts may reach
        self.functions = set()  # qualified names of exported free functions
        self.c_entries = set()  # plain names of exported C entry points


def read_class(api, kind, name, body):
    reachable = set()
    access = "public" if kind == "struct" else "private"
    for piece in re.split(r"(\b(?:public|protected|private)\s*:(?!:))", top_level(body)):
        label = ACCESS.fullmatch(piece.strip())
        if label:
            access = label.group(1)
            continue
        for statement in piece.split(";"):
            member = function_name(statement)
            if not member:
                continue
            if re.search(r"\bfriend\b", statement):
                if "QORCALC_API" in statement:
                    api.functions.add(member)
            elif access != "private":
                reachable.add(member)
    api.classes[name] = reachable


def read_scope(api, text, namespace, extern_c):
    """Reads declarations of one scope; nested scopes recurse."""
    pos = 0
    while True:
        found = [m for m in (CLASS.search(text, pos), NAMESPACE.search(text, pos),
                             EXTERN_C_BLOCK.search(text, pos)) if m]
        end = min((m.start() for m in found), default=len(text))
        read_functions(api, text[pos:end], namespace, extern_c)
        if not found:
            return
        first = min(found, key=lambda m: m.start())
        close = matching_brace(text, first.end() - 1)
        inner = text[first.end():close]
        if first.re is CLASS:
            read_class(api, first.group(1), first.group(2), inner)
        elif first.re is NAMESPACE:
            read_scope(api, inner, namespace + first.group(1).split("::"), extern_c)
        else:
            read_scope(api, inner, namespace, True)
        pos = close + 1


def read_functions(api, text, namespace, extern_c):
    for statement in top_level(text).split(";"):
        if "QORCALC_API" not in statement or re.search(r"\b(class|struct)\b", statement):
            continue
        name = function_name(statement.split("QORCALC_API", 1)[1])
        if not name:
            continue
        if extern_c or re.search(r'extern\s+"C"', statement):
            api.c_entries.add(name)
        else:
            api.functions.add("::".join(namespace + [name]))


def read_headers(header_dir):
    api = Api()
    for header in sorted(Path(header_dir).glob("*.h")):
        if header.name == "export.h":
            continue
        read_scope(api, strip_comments(header.read_text(encoding="utf-8")), [], False)
    return api


def exported_symbols(library):
    nm = subprocess.run(["nm", "-D", "--defined-only", library], check=True,
                        capture_output=True, text=True).stdout
    mangled = [line.split()[-1] for line in nm.splitlines() if line.strip()]
    demangled = subprocess.run(["c++filt"], input="\n".join(mangled), check=True,
                               capture_output=True, text=True).stdout.splitlines()
    return list(zip(mangled, demangled))


def strip_templates(text):
    while True:
        stripped = re.sub(r"<[^<>]*>", "", text)
        if stripped == text:
            return text
        text = stripped


def qualified_name(demangled):
    """The qualified name of a function symbol: "A::B::f" from "A::B::f(int) const"."""
    text = strip_templates(re.sub(r"\[abi:\w+\]", "", demangled))
    # "operator new" as the headers' names are read: without the blank.
    text = re.sub(r"\boperator\s+(new|delete)\b", r"operator\1", text)
    match = re.match(r"^(?:.*\s)?((?:\w+::)*(?:operator\s*(?:\(\)|[^\s(]+)|~?\w+))\(", text)
    return match.group(1) if match else None


def why_not_api(api, mangled, demangled):
    """None when the symbol belongs to the public API, else the reason."""
    if not mangled.startswith("_Z"):
        return None if mangled in api.c_entries else "not a C entry point of the headers"
    special = re.match(r"^(vtable|typeinfo|typeinfo name) for (\w+)$", demangled)
    if special:
        return None if special.group(2) in api.classes else "type information of a class the headers do not export"
    name = qualified_name(demangled)
    if name is None:
        return "not a function of the headers"
    if name in api.c_entries:
        return "declared extern \"C\" but exported C++-mangled"
    if name in api.functions:
        return None
    owner, _, member = name.rpartition("::")
    if owner in api.classes:
        if member in api.classes[owner]:
            return None
        return "a private or undeclared member of " + owner
    return "declared in no public header with QORCALC_API"


def main(library, header_dir):
    api = read_headers(header_dir)
    if not api.c_entries or not api.classes:
        print("found no QORCALC_API declarations in " + header_dir)
        return 1
    symbols = exported_symbols(library)
    problems = []
    for mangled, demangled in symbols:
        reason = why_not_api(api, mangled, demangled)
        if reason:
            problems.append("exported but not public API: %s (%s): %s" % (demangled, mangled, reason))
    plain = {m for m, _ in symbols if not m.startswith("_Z")}
    for entry in sorted(api.c_entries - plain):
        problems.append("C entry point %s is not exported by its plain name" % entry)
    mangled_names = {qualified_name(d) for m, d in symbols if m.startswith("_Z")}
    for function in sorted(api.functions - mangled_names):
        problems.append("exported function %s is not exported" % function)
    for line in problems:
        print(line)
    print("%d symbols exported; %d C entry points, %d functions, %d classes in the headers; %d problems"
          % (len(symbols), len(api.c_entries), len(api.functions), len(api.classes), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        print(__doc__)
        sys.exit(2)
    sys.exit(main(sys.argv[1], sys.argv[2]))
