"""The reference of the exported interface: no header has a member without a comment, and the check would find one that has."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77  # CTest's word, agreed in CMakeLists.txt
SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"]).resolve()
HEADERS = SOURCE / "include"
# Changes of a header that must be found: an operation, a member and a class without a comment, and a comment on what is not there.
FAULTS = {
    "WebServicesManager.h": ("    static bool IsInitialized();", "    static bool IsInitialized();\n\n    static bool Bare();"),
    "RequestParam.h": ("    const wchar_t* name;", "    int bare;\n    const wchar_t* name;"),
    "Cache.h": ("struct CacheFailure;", "struct CacheFailure;\n\nclass VQWEBSERVICES_EXPORT Bare {\npublic:\n    int bare();\n};"),
    "NetworkCookieJar.h": ("    /// Appends a copy;", "    /// @param gone Was here once.\n    /// Appends a copy;"),
}


def build(headers: pathlib.Path, folder: pathlib.Path) -> subprocess.CompletedProcess:
    settings = (SOURCE / "docs/Doxyfile").read_text(encoding="utf-8")
    settings += f'\nINPUT = "{headers}/VqWebServices"\nOUTPUT_DIRECTORY = "{folder}"\n'
    return subprocess.run(["doxygen", "-"], input=settings, text=True, capture_output=True, cwd=folder, timeout=30)


def faults_of_the_headers(folder: pathlib.Path) -> list[str]:
    run = build(HEADERS, folder)
    if run.returncode != 0 or run.stderr:
        return [f"doxygen ends with {run.returncode}", run.stderr]
    page = folder / "api/classVelquor_1_1WebServices_1_1WebServicesManager.html"
    return [] if page.is_file() else ["there is no page of WebServicesManager"]


def missed_fault(folder: pathlib.Path, name: str, old: str, new: str) -> list[str]:
    copy = folder / "include"
    shutil.copytree(HEADERS, copy)
    header = copy / "VqWebServices" / name
    text = header.read_text(encoding="utf-8")
    if text.count(old) != 1:
        return [f"{name} has no place for a fault: {old}"]
    header.write_text(text.replace(old, new), encoding="utf-8")
    run = build(copy, folder)
    is_found = run.returncode != 0 and name in run.stderr
    return [] if is_found else [f"a fault in {name} was not found:\n{new}\n{run.stderr}"]


def main() -> int:
    if not shutil.which("doxygen"):
        print("Skipped: Doxygen is not installed (tools/setup --docs).")
        return SKIPPED
    with tempfile.TemporaryDirectory(prefix="vqws-api-") as folder:
        found = faults_of_the_headers(pathlib.Path(folder))
    for name, (old, new) in FAULTS.items():
        with tempfile.TemporaryDirectory(prefix="vqws-api-") as folder:
            found += missed_fault(pathlib.Path(folder), name, old, new)
    print("\n".join(found) if found else "Every exported member is documented.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
