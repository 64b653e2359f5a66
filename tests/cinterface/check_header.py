"""Holds the C header to the table of its numbers, with every compiler that is here.

usage: check_header.py HEADER TABLE [--write]
The table has each constant with its value, and each struct with its size and the offsets of its members, as bindings in other
languages read them. What is in the table never changes. The header must compile alone as C99, C++11 and for Visual C++.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

COMPILERS = [["gcc", "-std=c99", "-pedantic", "-x", "c"], ["g++", "-std=c++11", "-pedantic", "-x", "c++"],
             ["clang", "--target=x86_64-pc-windows-msvc", "-std=c99", "-x", "c"],
             ["clang", "--target=x86_64-pc-windows-msvc", "-std=c++11", "-x", "c++"],
             ["x86_64-w64-mingw32-gcc", "-std=c99", "-pedantic", "-x", "c"]]


def names(header: str) -> list[str]:
    """All that has a number: constants, and structs with their members, as the expressions of the table."""
    found = re.findall(r"^#define (?!VQWS_VERSION )(VQWS_\w+) (?:\(?-?\d|0x|SIZE_MAX)", header, re.M)
    for body, struct in re.findall(r"typedef struct \w+ \{(.*?)\} (\w+);", re.sub(r"/\*.*?\*/", "", header, flags=re.S), re.S):
        found.append(f"sizeof({struct})")
        found += [f"offsetof({struct}, {member})" for member in re.findall(r"(\w+);", body)]
    return found


def values(header: pathlib.Path, expressions: list[str]) -> list[str]:
    lines = "\n".join(f'printf("%lld\\n", (long long)({expression}));' for expression in expressions)
    with tempfile.TemporaryDirectory() as folder:
        program = f"{folder}/print"
        text = f'#include "{header}"\n#include <stdio.h>\nint main(void) {{\n{lines}\nreturn 0;\n}}\n'
        subprocess.run(["gcc", "-x", "c", "-", "-o", program], input=text, text=True, check=True)
        return subprocess.run([program], capture_output=True, text=True, check=True).stdout.split()


def main() -> int:
    header, table = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    expressions = names(header.read_text(encoding="utf-8"))
    if "--write" in sys.argv:
        table.write_text("".join(f"{name} = {value}\n" for name, value in zip(expressions, values(header, expressions))), encoding="utf-8")
    listed = dict(line.split(" = ") for line in table.read_text(encoding="utf-8").splitlines())
    faults = [f"not in both the header and the table: {name}" for name in sorted(set(expressions) ^ set(listed))]
    checks = "\n".join(f"typedef char check_{number}[({expression}) == {value} ? 1 : -1];"
                       for number, (expression, value) in enumerate(listed.items()) if expression != "VQWS_Z")
    tried = [command for command in COMPILERS if shutil.which(command[0])]
    for command in tried:
        result = subprocess.run([*command, "-Wall", "-Wextra", "-Wno-long-long", "-Werror", "-fsyntax-only", "-"], text=True, check=False,
                                input=f'#include "{header}"\n{checks}\n', capture_output=True)
        if result.returncode != 0:
            faults.append(f"{' '.join(command)}: {result.stderr[:600]}")
    print("\n".join([*faults, f"{len(listed)} numbers, {len(tried)} compilers"]))
    return 1 if faults or len(listed) < 100 else 0


if __name__ == "__main__":
    sys.exit(main())
