"""tools/tidy and tools/format in a project of three files: which files they look at, and what they say of a fault."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["VQ_SOURCE_DIR"])
IDENTITY = ["-c", "user.name=t", "-c", "user.email=t@example.com"]


class StyleToolsTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vqws-style-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.project = self.folder / "project"
        for name in ("tools/tidy", "tools/format", "tools/common.sh", ".clang-format"):
            (self.project / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(SOURCE / name, self.project / name)
        # It finds one fault in each file that it is given.
        shim = self.folder / "bin/clang-tidy-14"
        shim.parent.mkdir()
        shim.write_text('#!/bin/bash\necho "${!#}:1:1: warning: bad [some-check]"\n', encoding="ascii")
        shim.chmod(0o755)
        self.git("init", "-q", "-b", "main")
        for name, text in {"A.cpp": "int a;\n", "B.cpp": '#include "C.h"\nint b;\n', "C.h": "int c;\n"}.items():
            self.write(name, text)
        self.write("New.txt", "")
        self.commit()

    def write(self, name: str, text: str) -> None:
        path = self.project / "Shared" / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text, encoding="ascii")

    def git(self, *arguments: str) -> None:
        subprocess.run(["git", "-C", str(self.project), *IDENTITY, *arguments], check=True, capture_output=True)

    def commit(self) -> None:
        self.git("add", "-A")
        self.git("commit", "-q", "-m", "change")

    def run_tool(self, name: str, *arguments: str) -> tuple[int, list[str]]:
        result = subprocess.run([str(self.project / "tools" / name), *arguments], capture_output=True, text=True, check=False,
                                env={**os.environ, "PATH": f"{self.folder / 'bin'}:{os.environ['PATH']}"}, timeout=30)
        return result.returncode, result.stdout.splitlines()

    def tidied(self) -> list[str]:
        """The files that tools/tidy looks at."""
        build = self.project / "build/linux-release"
        build.mkdir(parents=True, exist_ok=True)
        entries = [{"file": str(self.project / "Shared" / name), "directory": "/", "command": "c"}
                   for name in ("A.cpp", "B.cpp", "D.cpp")]
        (build / "compile_commands.json").write_text(json.dumps(entries), encoding="utf-8")
        status, lines = self.run_tool("tidy", "--build", str(build))
        found = [line.partition(":")[0] for line in lines if line.endswith("[some-check]")]
        self.assertEqual(1 if found else 0, status)
        return found

    def test_tidy_looks_at_what_changed(self):
        self.assertEqual(["Shared/A.cpp", "Shared/B.cpp"], self.tidied(), "a history of one commit")
        self.write("A.cpp", "int a1;\n")
        self.commit()
        self.assertEqual(["Shared/A.cpp"], self.tidied(), "no other branch to compare with")
        self.git("update-ref", "refs/remotes/origin/main", "HEAD")
        self.assertEqual(["Shared/A.cpp"], self.tidied(), "the main branch itself")
        self.write("C.h", "int c1;\n")
        self.commit()
        self.assertEqual(["Shared/B.cpp"], self.tidied(), "a header through the file that includes it")
        self.write("New.txt", "x")
        self.commit()
        self.assertEqual(["Shared/B.cpp"], self.tidied(), "all commits since the main branch")
        self.write("A.cpp", "int a2;\n")
        self.assertEqual(["Shared/A.cpp", "Shared/B.cpp"], self.tidied(), "what is not committed yet, too")
        self.git("checkout", "-q", ".")
        self.git("update-ref", "refs/remotes/origin/main", "HEAD~1")
        self.git("mv", "Shared/A.cpp", "Shared/D.cpp")
        self.assertEqual([], self.tidied(), "a file that was only moved")
        self.commit()
        shallow = self.folder / "shallow"
        subprocess.run(["git", "clone", "-q", "--depth", "1", f"file://{self.project}", str(shallow)], check=True)
        self.project = shallow
        self.assertEqual(["Shared/B.cpp", "Shared/D.cpp"], self.tidied(), "a clone without history: everything that it has")

    def test_format_names_what_differs_and_mends_it(self):
        self.assertEqual((0, []), self.run_tool("format", "--check"))
        self.write("A.cpp", "int  a ;\n")
        self.assertEqual((1, ["Shared/A.cpp"]), self.run_tool("format", "--check"))
        self.assertEqual((0, []), self.run_tool("format"))
        self.assertEqual("int a;\n", (self.project / "Shared/A.cpp").read_text(encoding="ascii"))


if __name__ == "__main__":
    unittest.main()
