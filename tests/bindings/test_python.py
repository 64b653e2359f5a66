"""The package for Python: that it is the whole header, and what a product meets with it."""
import ast
import contextlib
import ctypes
import datetime
import gc
import os
import pathlib
import subprocess
import sys
import threading
import traceback
import unittest
import unittest.mock

from service import KEY, LIBRARY, PATIENCE, SECRET, SOURCE, ServiceTest, exports, numbers, parameters

import vqws
from vqws import _native, events, types
from vqws._loading import native

PACKAGE = SOURCE / "bindings/python/vqws"
TYPES = {"const char*": ctypes.c_char_p, "char*": ctypes.c_char_p, "size_t": ctypes.c_size_t, "size_t*": ctypes.c_size_t,
         "int32_t": ctypes.c_int32, "int32_t*": ctypes.c_int32, "int64_t*": ctypes.c_int64, "uint64_t": ctypes.c_uint64,
         "uint64_t*": ctypes.c_uint64, "void*": ctypes.c_void_p, "vqws_event_fn": _native.EVENT, "vqws_log_fn": _native.LOG,
         "vqws_release_fn": _native.RELEASE, "vqws_error*": _native.ErrorStruct, "const vqws_config*": _native.ConfigStruct,
         "const vqws_request*": _native.RequestStruct, "const vqws_token_spec*": _native.TokenSpecStruct,
         "const vqws_init_options*": _native.InitOptionsStruct}
ENUMS = {"VQWS_MODE": vqws.Mode, "VQWS_SERVER": vqws.Server, "VQWS_TOKEN": vqws.TokenType, "VQWS_SIGN": vqws.SigningMode,
         "VQWS_CACHE": vqws.CacheKind, "VQWS_ENTITLEMENT": vqws.Entitlement, "VQWS_EVENT": vqws.EventKind}
# How a program may end that closes nothing, and what it says before.
ENDS = {
    "nothing is closed": "library.observe(print); vqws.observe_log(lambda *_: None)",
    "a callable runs": "library.observe(lambda e: (started.set(), time.sleep(0.3))); act(); started.wait()",
    "a callable exits": "library.observe(lambda e: (started.set(), sys.exit(3))); act(); started.wait()",
    "a daemon is in a call": "threading.Thread(target=lambda: list(iter(vqws.is_initialized, False)), daemon=True).start(); time.sleep(0.1)",
    "a host is woken": "library.observe(print); threading.Thread(target=act).start()",
    "a fork": "child = os.fork(); child or (act(), sys.stdout.flush(), os._exit(0)); os.waitpid(child, 0)",
}
PREAMBLE = """
import os, sys, threading, time, vqws
started = threading.Event()
sys.unraisablehook = lambda told: print(told.exc_type.__name__)
def act():
    try:
        client.configure(vqws.Config("k", "s")); client.restore_login()
    except vqws.StateError as error:
        print(error.code.name)
library = vqws.Library(support_paths=[sys.argv[1]])
client = vqws.Client()
"""
# A host with a loop of its own: the sign-out of another thread waits for the answer that the loop delivers.
HOST = """
import asyncio, os, sys, threading, vqws
async def main():
    loop = asyncio.get_running_loop()
    threads = set()
    wake = lambda: loop.call_soon_threadsafe(library.dispatch)
    with vqws.Library(mode=vqws.Mode.HOST, support_paths=[sys.argv[1]], wake=wake) as library:
        library.observe(lambda event: threads.add(threading.current_thread()) or event.kind == vqws.EventKind.ABOUT_TO_LOGOUT)
        client = vqws.Client()
        client.configure(vqws.Config("demo-product-0001", "demo-secret-0001"))
        client.restore_login()
        try:
            await loop.run_in_executor(None, client.logout)
        except vqws.VetoedError:
            print("vetoed", client.user_name, threads == {threading.main_thread()})
        try:
            await loop.run_in_executor(None, library.close)
        except vqws.StateError as error:
            print(error.code.name)
asyncio.run(main())
"""

# A host that runs GLib, as those with GTK do, while the library has a thread of its own.
GLIB_HOST = """
import sys, threading, vqws
from gi.repository import GLib
threads, events = [], []
with vqws.Library(support_paths=[sys.argv[1]]) as library:
    library.observe(lambda event: events.append(event.kind))
    client = vqws.Client()
    client.configure(vqws.Config("demo-product-0001", "demo-secret-0001"))
    client.restore_login()
    client.refresh_token()
    client.initiate_login()
    loop = GLib.MainLoop()
    def tick():
        threads.append(threading.current_thread())
        if len(threads) == 50 or vqws.EventKind.LOGGED_OUT in events:
            loop.quit()
            return False
        if len(threads) == 5:
            threading.Thread(target=client.logout).start()
        return True
    GLib.timeout_add(20, tick)
    loop.run()
    print(set(threads) == {threading.main_thread()}, vqws.EventKind.LOGGED_OUT in events)
    # Where GIO calls back on this thread.
    print(GLib.MainContext.get_thread_default())
"""


class HeaderTest(unittest.TestCase):
    def test_every_function_has_the_parameters_of_the_header(self):
        header = parameters()
        self.assertEqual(exports() - {"vqws_version"}, set(header))
        self.assertEqual(set(header), set(_native.SIGNATURES))
        for name, given in header.items():
            bound = [getattr(one, "_type_", one) if issubclass(one, ctypes._Pointer) else one for one in _native.SIGNATURES[name]]
            self.assertEqual([TYPES[one] for one in given], bound, name)

    def test_numbers_are_those_of_the_header(self):
        results = {name: code for name, code in numbers().items() if f"VQWS_{name[5:]}" == name and name[5:] in vqws.ResultCode.__members__}
        self.assertEqual({f"VQWS_{code.name}": code for code in vqws.ResultCode}, results)
        self.assertEqual(25, len(results))
        for prefix, kind in ENUMS.items():
            listed = {name[len(prefix) + 1:]: value for name, value in numbers().items() if name.startswith(prefix + "_")}
            self.assertEqual(listed, {member.name: member.value for member in kind})
        for number, name in enumerate(types.CONFIG_TEXTS):
            self.assertEqual(number, numbers()[f"VQWS_CONFIG_{name.upper()}"])
        for method in vqws.Method:
            self.assertEqual(method, numbers()[f"VQWS_{method.name}"])

    def test_structs_lie_as_in_the_header(self):
        seen = 0
        for struct in (_native.Text, _native.ErrorStruct, _native.TokenSpecStruct, _native.InitOptionsStruct, _native.ConfigStruct,
                       _native.ParamStruct, _native.RequestStruct, _native.EventStruct):
            words = "".join("_" + one.lower() if one.isupper() else one for one in struct.__name__.replace("Struct", ""))
            self.assertEqual(numbers()[f"sizeof(vqws{words})"], ctypes.sizeof(struct))
            for name, *_ in struct._fields_:
                self.assertEqual(numbers()[f"offsetof(vqws{words}, {name})"], getattr(struct, name).offset, f"{words} {name}")
                seen += 1
        self.assertEqual(seen, sum(name.startswith("offsetof") for name in numbers()))

    def test_the_oldest_python_can_read_it(self):
        for path in PACKAGE.glob("*.py"):
            ast.parse(path.read_text(encoding="utf-8"), feature_version=(3, 9))


class ProductTest(ServiceTest):
    def setUp(self):
        self.library = vqws.Library(support_paths=[str(self.service.folder)])
        self.addCleanup(self.library.close)
        self.client = vqws.Client()
        self.client.configure(vqws.Config(KEY, SECRET, feature_name="CAD ä", oauth2_consumer_key=KEY, oauth2_consumer_secret=SECRET))
        self.client.restore_login()
        self.addCleanup(self.sign_out)

    def sign_out(self) -> None:
        with contextlib.suppress(vqws.Error):
            self.client.logout()

    def sign_in(self) -> None:
        self.approve(self.client.initiate_login("ada"))
        self.client.complete_login('{"Cookies": [{"Name": "n", "Value": "v", "Domain": "127.0.0.1", "Path": "/"}]}')

    def operations(self):
        """Every operation that is not elsewhere in this test, with what it must give."""
        library, client, spec = self.library, self.client, vqws.TokenSpec(vqws.TokenType.JWT, "a b")
        cache, now = vqws.CacheKind.STORAGE_QUOTA, datetime.datetime.now(datetime.timezone.utc)
        soon = lambda time: now < time < now + datetime.timedelta(days=30)  # noqa: E731
        yield True, vqws.is_initialized()
        yield [str(self.service.folder)], vqws.support_paths()
        yield True, vqws.version() >= (1, 0, 0) and vqws.library_version().startswith("13.")
        yield True, vqws.log_drops() >= 0
        yield None, library.set_default_plugin_paths() or library.add_plugin_path("/nowhere") 
        yield vqws.Server.PRODUCTION, library.server
        yield None, client.set_server(vqws.Server.PRODUCTION)
        yield True, library.url(0).startswith(self.service.info["url"])
        yield True, all(pathlib.Path(one).exists() for one in (library.log_file, library.login_state_file))
        yield (False, True, False), (library.is_sso_for_all_users, library.is_log_enabled, library.is_login_expired)
        yield ("CAD ä", None), (client.config_text("feature_name"), client.config_text("upi_build") or None)
        yield ("ada", True, True), (client.user_name, client.is_logged_in, client.is_login_valid)
        yield ("ada", True), (library.ldap_domain_key, len(library.user_id) > 0)
        yield True, soon(library.login_expiry) and soon(client.token_expiry)
        yield ("n=v", True), (client.login_cookie(), client.login_cookies_json().startswith('{"Cookies":[{'))
        yield str, type(client.cache_path)
        yield (True, False), (client.is_token_available, client.is_token_expired)
        token = client.access_token()
        yield True, client.refresh_token() or client.access_token(check_expiry=False) != token
        yield "ada", self.asked_by(client.sign(self.echo))
        body = client.sign(self.echo, vqws.Method.POST, vqws.SigningMode.BODY, [("x", "1 & ä"), ("x", None)])
        yield True, body.startswith("x=1%20%26%20%C3%A4&x=&oauth_")
        yield True, 'oauth_token="mine"' in client.sign(self.echo, token="mine", token_secret="s")
        yield True, client.sign_url_for_browser(self.echo).startswith(self.echo + "?oauth_")
        yield True, client.initiate_logout().startswith(self.service.info["url"])
        yield (False, None), (client.is_oauth2_enabled, client.enable_oauth2())
        yield None, client.enable_oauth2(spec)
        yield True, len(client.oauth2_token(spec)) > 0 and client.is_oauth2_token_available(spec) and soon(client.oauth2_token_expiry(spec))
        yield False, client.refresh_oauth2_token() or client.is_oauth2_token_expired()
        yield None, client.disable_oauth2()
        yield ("ada@example.com", "Ada"), (client.user_email(), client.user_first_name())
        yield True, len(client.user_last_name()) > 0 and client.user_info().startswith("<")
        yield vqws.Entitlement.YES, client.entitlement("Storage")
        yield True, client.entitlement_xml("Sharing").startswith("<") and len(client.entitlement_xml()) > 0
        yield 5368709120, client.storage_quota()[1]
        yield (True, True), (client.is_cache_enabled(cache), client.is_cache_available(cache))
        yield None, client.invalidate_cache(cache) or client.enable_cache(cache, True)
        proxy = library.proxy
        yield None, proxy.set_dialog_texts("C %1", None)
        yield "C %1", proxy.dialog_texts()[0]
        yield None, proxy.set_login("proxy.invalid", 8080, "u", "p ä")
        yield (True, True, "u", "p ä"), (proxy.is_stored, proxy.has_login("proxy.invalid"), proxy.user("proxy.invalid"),
                                         proxy.password("proxy.invalid", 8080))
        yield None, proxy.clear()
        with self.assertRaisesRegex(vqws.Error, "UNSUPPORTED"):
            library.remove_event_hook() or library.set_event_hook()
        with self.assertRaises(vqws.StateError):
            library.dispatch()
        yield None, client.complete_logout()

    def test_every_operation_reaches_its_function(self):
        called = set()
        functions = native()

        class Recorder:
            def __getattr__(self, name):
                called.add(name)
                return getattr(functions, name)

        with unittest.mock.patch.multiple("vqws._calls", native=Recorder), unittest.mock.patch.multiple("vqws.client", native=Recorder):
            self.sign_in()
            for number, (expected, got) in enumerate(self.operations()):
                self.assertEqual(expected, got, f"operation {number}")
            self.library.observe(print).close()
            vqws.observe_log(lambda *_: None).close()
            self.sign_out()
        # What set-up, the first call and the end of other tests use.
        self.assertEqual({"vqws_version", "vqws_init", "vqws_uninit", "vqws_set_config", "vqws_restore_login", "vqws_set_support_paths",
                          "vqws_take_text"}, exports() - called)

    def test_an_exception_says_what_happened_and_no_secret(self):
        with self.assertRaises(vqws.NotSignedInError) as caught:
            self.client.sign(self.echo)
        self.assertIn("SignRequest failed", str(caught.exception))
        self.service.control("faults", {"endpoint": "request-token", "kind": "status", "status": 403})
        with self.assertRaises(vqws.RefusedError) as caught:
            self.client.initiate_login()
        self.assertEqual((vqws.ResultCode.REFUSED, 403), (caught.exception.code, caught.exception.http_status))
        for secret, code in [("hush\udc80", "TEXT"), ("hush\0", "TEXT"), ("hush" * 300000, "TOO_LONG"), ("", "ARGUMENT"), (b"hush", "")]:
            config = vqws.Config("other", secret, oauth2_consumer_secret="hush")
            self.assertNotIn("hush", repr(config))
            try:
                vqws.Client("other").configure(config)
                self.fail("it was taken")
            except (vqws.ArgumentError, TypeError) as error:
                self.assertEqual(code, getattr(getattr(error, "code", None), "name", ""))
                self.assertNotIn("hush", traceback.format_exc() + repr(error.__dict__))
        self.assertIs(vqws.Error, type(vqws.errors.error_for(4711, 0, "")))

    def test_a_text_of_any_length_arrives_whole(self):
        self.sign_in()
        value = "ä" * 20000
        self.assertEqual(len(value) * 6, self.client.sign(self.echo, mode=vqws.SigningMode.QUERY + 2, params={"v": value}).count("%C3%A4") * 6)

    def test_only_true_is_a_veto_and_a_callable_that_raises_is_told(self):
        self.sign_in()
        # An event of the sign-in may come later.
        told, heard, asked = [], [], vqws.EventKind.ABOUT_TO_LOGOUT
        with unittest.mock.patch("sys.unraisablehook", told.append):
            with self.library.observe(lambda event: event.kind == asked and 1 / 0), self.library.observe(lambda event: heard.append(event) or True):
                gc.collect()
                self.assertRaises(vqws.VetoedError, self.client.logout)
            with self.library.observe(lambda event: 1):
                self.client.logout()
        self.assertEqual([ZeroDivisionError], [one.exc_type for one in told])
        self.assertEqual([KEY], [event.key for event in heard if event.kind is asked])

    def test_a_registration_ends_once_and_after_its_call(self):
        begun, lines, calls = threading.Event(), [], []
        log = vqws.observe_log(lambda level, line: lines.append((level, line)))
        inside = self.library.observe(lambda event: (calls.append(inside.close()), gc.collect()))
        slow = self.library.observe(lambda event: (begun.set(), calls.append(threading.Event().wait(0.2))))
        self.library.observe(lambda event: None)
        worker = threading.Thread(target=self.sign_in)
        worker.start()
        self.assertTrue(begun.wait(PATIENCE))
        slow.close()
        self.assertEqual([None, False], calls, "the close came back before its call")
        slow.close()
        worker.join(PATIENCE)
        self.library.close()
        self.eventually(lambda: lines)
        log.close()
        self.assertEqual({}, events._functions, "not all were released")
        self.assertTrue(all(level % 10000 == 0 and line for level, line in lines))

    def test_every_end_of_the_interpreter_is_quiet(self):
        said = {"a callable exits": "SystemExit\n", "a fork": "STATE\n", "a host is woken": "\n"}
        for row, body in ENDS.items():
            with self.subTest(row):
                preamble = PREAMBLE.replace("Library(", "Library(mode=vqws.Mode.HOST, wake=print, ") if "host" in row else PREAMBLE
                run = self.run_program(preamble + body)
                self.assertEqual((0, said.get(row, ""), ""), (run.returncode, run.stdout, run.stderr))

    def test_a_host_with_a_loop_of_its_own_is_woken(self):
        self.sign_in()
        run = self.run_program(HOST)
        self.assertEqual((0, "vetoed ada True\nWRONG_THREAD\n", ""), (run.returncode, run.stdout, run.stderr))
        self.client.logout()

    def test_a_host_with_the_loop_of_glib_keeps_it(self):
        self.sign_in()
        run = self.run_program(GLIB_HOST)
        self.assertEqual((0, "True True\nNone\n", ""), (run.returncode, run.stdout, run.stderr))

    def run_program(self, text: str) -> subprocess.CompletedProcess:
        return subprocess.run([sys.executable, "-B", "-W", "ignore", "-c", text, str(self.service.folder)], capture_output=True, text=True,
                              timeout=PATIENCE, check=False, env={**os.environ, "PYTHONPATH": str(PACKAGE.parent)})

    def test_a_missing_library_is_named(self):
        self.assertTrue(LIBRARY.is_file())
        with unittest.mock.patch.dict("os.environ", VQWS_LIBRARY="/nowhere/libvqws.so.1"):
            with self.assertRaisesRegex(ImportError, "VQWS_LIBRARY.*/nowhere/libvqws.so.1"):
                vqws._loading._load()


if __name__ == "__main__":
    unittest.main()
