"""The documents beside the code. Each check is also held against a sample that is wrong, so that it cannot pass by finding nothing."""
import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

import documents

SOURCE = pathlib.Path(os.environ.get("VQ_SOURCE_DIR", pathlib.Path(__file__).resolve().parent.parent.parent)).resolve()
PAGES = [path for path in SOURCE.rglob("*.md") if not {"build", ".git"} & set(path.relative_to(SOURCE).parts)]
STARTING = SOURCE / "docs/getting-started"
CODE = [path for folder in ("WebServicesCore", "Shared") for path in (SOURCE / folder).rglob("*") if path.suffix in (".cpp", ".h")]


def code() -> str:
    return "\n".join(path.read_text(encoding="utf-8") for path in sorted(CODE))


def page(name: str) -> str:
    return (SOURCE / "docs" / name).read_text(encoding="utf-8")


def url_keys(text: str) -> set[str]:
    """The names of WebServicesUrlCode, and the literals that have the form of a key."""
    header = (SOURCE / "include/VqWebServices/WebServicesUrlCode.h").read_text(encoding="utf-8")
    codes = set(re.findall(r"^    (\w+) = \d+,$", header, re.M))
    literals = set(re.findall(r'"(?!GetUrl")(\w+(?:EndPoint|Urls?))"', text))
    return codes | literals


def settings(text: str) -> set[str]:
    direct = set(re.findall(r'librarySetting\(Q(?:StringLiteral|Latin1String)\("(\w+)"\)', text))
    return direct | set(re.findall(r'"(\w+ServerConfigJsonFile)"', text))


def variables(text: str) -> set[str]:
    direct = set(re.findall(r'(?:qgetenv|qputenv|qEnvironmentVariable(?:IsSet)?|GetEnvironmentVariableW)\(L?"(\w+)"', text))
    proxies = re.findall(r'"(\w+_proxy)"', text)
    return direct | set(proxies) | ({"PATH"} if 'L"PATH"' in text else set())


def log_names(text: str) -> set[str]:
    properties = (SOURCE / "config/WebServices.logconfig").read_text(encoding="utf-8")
    return set(re.findall(r'"(VqWebServices(?:\.\w+)*)"', text)) | set(re.findall(r"\$\{(\w+)\}", properties))


class DocsTest(unittest.TestCase):
    def nothing(self, faults: list[str]) -> None:
        self.assertEqual([], faults, "\n" + "\n".join(faults))

    def sample(self, text: str) -> pathlib.Path:
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="vqws-docs-")))
        (folder / "page.md").write_text(text, encoding="utf-8")
        (folder / "main.cpp").write_text("a\n// [part]\nb\n// [/part]\nc\n", encoding="utf-8")
        return folder / "page.md"

    def test_every_link_leads_somewhere(self):
        self.assertGreater(len(PAGES), 70)
        self.nothing([fault for path in PAGES for fault in documents.broken_links(path, SOURCE)])
        wrong = self.sample("# A word\n[a](#a-word) [b](#no) [c](no.md) [d](../../etc/passwd) [e](main.cpp#x)\n```\n[f](none)\n```\n`[g](none)`\n")
        self.assertEqual(4, len(documents.broken_links(wrong, wrong.parent)))

    def test_every_page_is_reached_from_the_index(self):
        index = page("README.md") + (STARTING / "README.md").read_text(encoding="utf-8") + (SOURCE / "README.md").read_text(encoding="utf-8")
        lost = [path.name for path in SOURCE.glob("docs/*.md") if path.name != "README.md" and f"{path.name})" not in index]
        lost += [path.name for path in STARTING.glob("*.md") if path.name != "README.md" and f"{path.name})" not in index]
        self.nothing(lost)

    def test_snippets_are_the_files_to_the_letter(self):
        pages = [path for path in PAGES if "file=" in path.read_text(encoding="utf-8")]
        self.assertLessEqual(set(STARTING.glob("*-host.md")) | {STARTING / "cmake.md"}, set(pages))
        self.nothing([fault for path in pages if path.parent == STARTING for fault in documents.wrong_snippets(path, STARTING)])
        for fence, text, faults in [("cpp file=main.cpp region=part", "b", 0), ("cpp file=main.cpp region=part", "b ", 1),
                                    ("cpp file=main.cpp region=other", "b", 1), ("cpp file=none.cpp", "b", 1), ("cpp", "b", 0)]:
            wrong = self.sample(f"```{fence}\n{text}\n```\n")
            self.assertEqual(faults, len(documents.wrong_snippets(wrong, wrong.parent)), fence)
        self.assertEqual(1, len(documents.wrong_snippets(self.sample("```cpp\nb\n"), STARTING)))

    def test_every_marked_region_is_shown(self):
        for program in STARTING.glob("*/*.cpp"):
            marks = re.findall(r"^// \[(/?)([\w-]+)\]$", program.read_text(encoding="utf-8"), re.M)
            self.assertEqual(marks, [mark for _, name in marks[::2] for mark in (("", name), ("/", name))], program)

    def test_the_readme_shows_the_minimal_host(self):
        blocks = documents.split((SOURCE / "README.md").read_text(encoding="utf-8"))[1]
        self.assertIn((SOURCE / "examples/minimal-host/main.cpp").read_text(encoding="utf-8"), [text for _, text in blocks])

    def test_every_key_is_documented(self):
        configuration, text = page("configuration.md"), code()
        for what, names, known in [("URL key", url_keys(text), {"AccountServerUrl", "TimeServerUrls", "LogoutEndPoint", "StorageRoot"}),
                                   ("setting", settings(text), {"LogLevel", "DevServerConfigJsonFile", "EnableSSOForAllUsers"}),
                                   ("variable", variables(text), {"VQWS_LOGLEVEL", "XDG_RUNTIME_DIR", "no_proxy", "PATH"}),
                                   ("log name", log_names(text), {"RootLogLevel", "VqWebServices.Session", "AppName"})]:
            with self.subTest(what):
                self.assertLessEqual(known, names, "the search finds what is known to be there")
                self.nothing(documents.missing(names, configuration))
                self.assertEqual(["NotThere"], documents.missing(names | {"NotThere"}, configuration))

    def test_every_operation_stands_in_the_table_of_the_c_interface(self):
        table = set(re.findall(r"`(?:\w+::)?(\w+)`", "".join(re.findall(r"^\|.*$", page("c-interface.md"), re.M))))
        functions = set(re.findall(r"^vqws_\w+", (SOURCE / "WebServicesCore/vqws.exports").read_text(encoding="utf-8"), re.M))
        exports = (SOURCE / "tests/exports/exports.txt").read_text(encoding="utf-8")
        operations = set(re.findall(r"::WebServicesManager(?:Ex)?::(\w+)\(", exports)) - {"GetInstance", "GetInstanceEx"}
        self.assertGreater(len(functions | operations), 130)
        self.nothing(sorted((functions | operations) - table))

    def test_each_example_of_a_url_file_is_whole(self):
        keys = url_keys(code())
        for example in sorted((SOURCE / "config").glob("*.example")):
            with self.subTest(example.name):
                urls = json.loads(example.read_text(encoding="utf-8"))["Configurations"]["WebServices"]["Urls"]
                self.assertEqual(keys - {"GetUrl"}, keys & set(urls))

    def test_names_in_files_are_documented(self):
        formats = page("file-formats.md")
        names = set(re.findall(r'QStringLiteral\("([A-Z]\w+)"\)', (SOURCE / "WebServicesCore/VqWebServices/Session/State/LoginStateDocument.cpp").read_text()))
        events = (SOURCE / "WebServicesCore/VqWebServices/Events/WebServicesEvent.h").read_text(encoding="utf-8")
        for name in names:
            self.assertRegex(formats, rf"\b{name}\b")
        for name, number in re.findall(r"^    (\w+) = (\d+),$", events, re.M):
            self.assertRegex(formats, rf"\| {number} \| `{name}` \|", "events stand in the table with their numbers")

    def test_quoted_log_texts_stand_in_the_code(self):
        text = page("troubleshooting.md")
        self.assertGreater(len(re.findall(r'"([^"\n]+)"', documents.split(text)[0])), 50)
        joined = documents.literals(code())
        self.nothing(documents.unknown_texts(text, joined))
        self.assertEqual(["Failed to do what nobody does"], documents.unknown_texts('See "Failed to do what nobody does".', joined))

    def test_the_change_log_tells_of_this_version(self):
        version = re.search(r"project\(VqWebServices VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8")).group(1)
        self.assertIn(f"## [{version}]", (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8"))

    def test_commands_of_the_pages_are_valid_shell(self):
        for path in STARTING.glob("*.md"):
            for fence, text in documents.split(path.read_text(encoding="utf-8"))[1]:
                if fence.startswith("sh"):
                    run = subprocess.run(["bash", "-n"], input=text, capture_output=True, text=True, timeout=10, check=False)
                    self.assertEqual("", run.stderr, path.name)


if __name__ == "__main__":
    unittest.main()
