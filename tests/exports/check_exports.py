"""Compares the export table of the shared library with the checked-in list.

usage: check_exports.py LIST LIBRARY C_LIST C_LIBRARY [--write]
The list has one demangled function a line. Tables of virtual functions and type information of the exported classes belong
to them and are not listed; anything else that is exported is a fault. The functions of the C interface are in a list of their own,
with their versions; the header must declare exactly these. On Linux they are in a library of their own, and have other names in the
first one; on Windows both are one DLL.
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


def versioned_names(library: str) -> set[str]:
    """Functions and data, each as "name version"; not the version nodes themselves."""
    lines = output("nm", "-D", "--extern-only", "--with-symbol-versions", "--defined-only", library).splitlines()
    return {name.replace("@@", " ") for _, kind, name in (line.split() for line in lines) if kind != "A"}


def mangled_names(library: str) -> list[str]:
    if library.endswith(".dll"):
        table = output("x86_64-w64-mingw32-objdump", "-p", library)
        return re.findall(r"^\s*\[\s*\d+\](?: \+base\[\s*\d+\])?(?:\s+[0-9a-f]+)?\s+(\S+)$", table.split("[Ordinal/Name Pointer] Table")[1], re.M)
    return [name.split()[0] for name in versioned_names(library)]


def exported_functions(library: str) -> set[str]:
    names = output("c++filt", text="\n".join(mangled_names(library))).splitlines()
    return {name for name in names if not OF_A_CLASS.match(name)}


def c_faults(listed_file: pathlib.Path, library: str) -> list[str]:
    listed = {f"{name} VQWS_{since}" for name, since in re.findall(r"^(vqws_\w+) (\S+)$", listed_file.read_text(encoding="utf-8"), re.M)}
    names = {entry.split()[0] for entry in listed}
    header = (listed_file.parent.parent / "include/VqWebServices/vqws.h").read_text(encoding="utf-8")
    declared = set(re.findall(r"VQWS_CALL (vqws_\w+)\(", header))
    in_one_library = library.endswith(".dll")
    found = {name for name in mangled_names(library) if name.startswith("vqws_")} if in_one_library else versioned_names(library)
    faults = [f"C interface: {text}" for text in sorted(found ^ (names if in_one_library else listed)) + sorted(declared ^ names)]
    if not in_one_library:
        core = {name for name in mangled_names(sys.argv[2]) if name.startswith("vqws_")}
        faults += [f"C interface, core: {name}" for name in sorted(core ^ {name.replace("vqws_", "vqws_core_", 1) for name in names})]
    print("\n".join([*faults, f"{len(names)} functions of the C interface"]))
    return faults


def main() -> int:
    listed_file, library = pathlib.Path(sys.argv[1]), sys.argv[2]
    found = {name for name in exported_functions(library) if not name.startswith("vqws_")}
    if "--write" in sys.argv:
        listed_file.write_text("\n".join(sorted(found)) + "\n", encoding="utf-8")
    listed = set(listed_file.read_text(encoding="utf-8").split("\n")) - {""}
    for name in sorted(found - listed):
        print(f"exported, but not listed: {name}")
    for name in sorted(listed - found):
        print(f"listed, but not exported: {name}")
    print(f"{len(found)} exported functions")
    return 0 if found == listed and found and not c_faults(pathlib.Path(sys.argv[3]), sys.argv[4]) else 1


if __name__ == "__main__":
    sys.exit(main())
