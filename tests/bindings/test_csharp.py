"""The package for C#, compiled with Mono: that it is the whole header, and what a product meets with it. .NET is not shown."""
import re
import shutil
import subprocess
import sys
import unittest

from service import (CSHARP as PACKAGE, DATA, PATIENCE, SOURCE, TRIAL, ServiceTest, compile_trial, exports, numbers,
                     parameters)

TYPES = {"const char*": "byte[]", "char*": "byte[]", "size_t": "UIntPtr", "size_t*": "out UIntPtr", "int32_t": "int", "int32_t*": "out int",
         "int64_t*": "out long", "uint64_t": "ulong", "uint64_t*": "out ulong", "void*": "IntPtr", "vqws_event_fn": "EventFunction",
         "vqws_log_fn": "LogFunction", "vqws_release_fn": "ReleaseFunction", "vqws_error*": "ref ErrorStruct",
         "const vqws_config*": "ref ConfigStruct", "const vqws_request*": "ref RequestStruct", "const vqws_token_spec*": "IntPtr",
         "const vqws_init_options*": "ref InitOptionsStruct"}
# The names of the header's constants begin with the enumeration's, but for these.
PREFIXES = {"Result": "", "Method": "", "TokenType": "TOKEN", "EventKind": "EVENT", "ConfigText": "CONFIG"}


def trial(*arguments: str, before=lambda process: None) -> tuple[int, str, str]:
    """Status and outputs; the function talks to the process first."""
    with subprocess.Popen(["mono", str(TRIAL), *map(str, arguments)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          text=True) as process:
        try:
            before(process)
            out, err = process.communicate(timeout=PATIENCE)
        finally:
            process.kill()
    return process.returncode, out, err


class HeaderTest(unittest.TestCase):
    def test_every_function_has_the_parameters_of_the_header(self):
        text = (PACKAGE / "Native.cs").read_text(encoding="utf-8")
        shapes = {name: [re.sub(r"\s\w+$", "", one) for one in given.split(", ")] if given else []
                  for name, given in re.findall(r"delegate u?int (\w+)\((.*)\);", text.replace("[In, Out] ", ""))}
        bound = re.findall(r'readonly (\w+) (\w+) = Loader\.Bind<(\w+)>\("(\w+)"\)', text)
        self.assertEqual(exports(), {name for *_, name in bound})
        rest = "".join(path.read_text(encoding="utf-8") for path in PACKAGE.glob("*.cs") if path.name != "Native.cs")
        for declared, field, shape, name in bound:
            self.assertEqual(declared, shape)
            self.assertRegex(rest, rf"Functions\.{field}\b")
            if name != "vqws_version":
                self.assertEqual([TYPES[one] for one in parameters()[name]], shapes[shape], name)

    def test_numbers_and_structs_are_those_of_the_header(self):
        listed = {name.replace("_", "").lower(): value for name, value in numbers().items()}
        seen = set()
        for name, value in re.findall(r"(.*) = (-?\d+)\n", trial("numbers")[1]):
            kind, _, member = name.partition(".")
            plain = f"VQWS{PREFIXES.get(kind, kind)}{member}" if member else name.replace("(", "(vqws").replace("Struct", "")
            plain = plain.replace("_", "").lower()
            self.assertEqual(listed[plain], int(value), name)
            seen.add(plain)
        rest = {"vqwsz", "vqwstextmax", "vqwsdialogcaption", "vqwsdialogmessage"}
        self.assertEqual(rest, set(listed) - seen)

    def test_nothing_but_netstandard_is_used(self):
        allowed = set((SOURCE / "tests/bindings/netstandard2.0.txt").read_text(encoding="utf-8").split("\n"))
        used = set(trial("api", DATA.parent / "Velquor.WebServices.dll")[1].splitlines())
        self.assertGreater(len(used), 80)
        self.assertEqual(set(), used - allowed)


class ProductTest(ServiceTest):
    def setUp(self):
        # Each product begins without a user.
        shutil.rmtree(DATA, ignore_errors=True)

    def check(self, *arguments: str, before=lambda process: None, status: int = 0) -> None:
        self.assertEqual((status, "", ""), trial(*arguments, before=before))

    def sign_in(self, process: subprocess.Popen) -> None:
        self.approve(next(line for line in process.stdout if line.startswith("login ")).split()[1])
        print(file=process.stdin, flush=True)

    def test_every_operation(self):
        self.check("operations", self.service.folder, self.echo, before=self.sign_in)

    def test_handlers(self):
        self.check("events", self.service.folder, before=self.sign_in)

    def test_a_host_with_a_loop_of_its_own_is_woken(self):
        run = subprocess.Popen(["mono", str(TRIAL), "product", str(self.service.folder)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        with run as product:
            print("login", file=product.stdin, flush=True)
            self.sign_in(product)
            product.communicate("complete\n", timeout=PATIENCE)
        self.check("woken", self.service.folder)

    def test_an_exception_says_what_happened_and_no_secret(self):
        self.service.control("faults", {"endpoint": "request-token", "kind": "status", "status": 403})
        self.check("secrets", self.service.folder)

    def test_every_end_is_quiet(self):
        for how in ("of Main", "by Exit", "in a handler", "in a call"):
            with self.subTest(how):
                self.check("end", self.service.folder, how, status=7)


if __name__ == "__main__":
    if not shutil.which("mcs"):
        print("SKIPPED: mcs is missing (tools/setup installs mono-mcs), so the package for C# was not compiled and not tested.")
        sys.exit(77)
    compile_trial()
    unittest.main(verbosity=2)
