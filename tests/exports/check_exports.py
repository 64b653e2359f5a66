"""Compares the export table of the shared library with the checked-in list.

usage: check_exports.py LIST LIBRARY [--write]
The list has one demangled function a line. Tables of virtual functions and type information of the exported classes belong
to them and are not listed; anything else that is exported is a fault.
"""
import pathlib
import re
import subprocess
import sys

NAMESPACE = "Velquor::WebServices::"
# What Qt's meta-object compiler calls by itself is hidden on Linux and exported on Windows.
OF_A_CLASS = re.compile(rf"^(?:(vtable|typeinfo|typeinfo name) for {NAMESPACE}\w+|{NAMESPACE}\w+::qt_static_metacall\(.*)$")


def output(*command: str, text: str | None = None) -> str:
    return subprocess.run(command, input=text, capture_output=True, text=True, check=True).stdout


def mangled_names(library: str) -> list[str]:
    if library.endswith(".dll"):
        table = output("x86_64-w64-mingw32-objdump", "-p", library)
        return re.findall(r"^\s*\[\s*\d+\](?: \+base\[\s*\d+\])?(?:\s+[0-9a-f]+)?\s+(\S+)$", table.split("[Ordinal/Name Pointer] Table")[1], re.M)
    return [line.split()[-1].split("@")[0] for line in output("nm", "-D", "--defined-only", library).splitlines()]


def exported_functions(library: str) -> set[str]:
    names = output("c++filt", text="\n".join(mangled_names(library))).splitlines()
    return {name for name in names if not OF_A_CLASS.match(name)}


def main() -> int:
    listed_file, library = pathlib.Path(sys.argv[1]), sys.argv[2]
    found = exported_functions(library)
    if "--write" in sys.argv:
        listed_file.write_text("\n".join(sorted(found)) + "\n", encoding="utf-8")
    listed = set(listed_file.read_text(encoding="utf-8").split("\n")) - {""}
    for name in sorted(found - listed):
        print(f"exported, but not listed: {name}")
    for name in sorted(listed - found):
        print(f"listed, but not exported: {name}")
    print(f"{len(found)} exported functions")
    return 0 if found == listed and found else 1


if __name__ == "__main__":
    sys.exit(main())
