"""The cures for the files of the user: data folder, login state, key, lock and flags."""
import os
import pathlib
import re
import shutil
import subprocess
import time
import unittest

from cures import FILES_OF_POSIX, NEEDS_RIGHTS, NEEDS_ROOT, CureTest, Row
from tool import RUN_SECONDS, SYSROOT, Home

ONE_HOUR = 3600
NO_KEY_FILE = "the key is in a container of the system there"


def cut(path: pathlib.Path) -> None:
    path.write_bytes(path.read_bytes()[:path.stat().st_size // 2])


def make_file_of_folder(t: CureTest) -> None:
    shutil.rmtree(t.home.data().parent, ignore_errors=True)
    t.home.data().parent.parent.mkdir(parents=True, exist_ok=True)
    t.home.data().parent.write_text("x", encoding="utf-8")
    t.give_home()


def make_folder_of_state(t: CureTest) -> None:
    t.home.data().mkdir(mode=0o700, parents=True, exist_ok=True)
    t.state().unlink(missing_ok=True)
    t.state().mkdir()
    t.give_home()


def leave(t: CureTest, name: str, age: int = 0) -> None:
    path = t.home.data() / name
    path.write_text("x", encoding="utf-8")
    path.chmod(0o600)
    os.utime(path, (time.time() - age, time.time() - age))
    t.give_home()


def expire(t: CureTest) -> None:
    text = t.state().read_text(encoding="utf-8")
    t.state().write_text(re.sub(r'SessionExpiryDate="[^"]*"', 'SessionExpiryDate="2020-01-01T00:00:00Z"', text), encoding="utf-8")


def copy_state_of_another_home(t: CureTest) -> None:
    """As after a copy of the login state file from another machine: the key here is another one."""
    here, own = t.home, t.state()
    t.home = Home(t.folder / "other-home", SYSROOT)
    t.give_home()
    try:
        t.sign_in_or_out(True)
        shutil.copyfile(t.state(), own)
    finally:
        t.home.close()
        shutil.rmtree(t.home.folder)
        t.home = here


def write_protect(t: CureTest) -> None:
    t.state().chmod(0o400)


def copy_key_of_another_user(t: CureTest) -> None:
    """As after a copy of the whole folder from another user."""
    user, t.user = t.user, None
    here, own = t.home, t.home.data()
    t.home = Home(t.folder / "root-home", SYSROOT)
    try:
        t.sign_in_or_out(True)
        for name in ("LoginState.xml", "UserKey.pem"):
            shutil.copyfile(t.home.data() / name, own / name)
    finally:
        shutil.rmtree(t.home.folder)
        t.user, t.home = user, here


def hold_lock(t: CureTest):
    file = t.home.data() / "VqWebServicesLoginStateSemaphore.lock"
    process = subprocess.Popen(["flock", "-F", str(file), "sleep", "120"], start_new_session=True, user=t.user, group=t.user)

    def end() -> None:
        process.kill()
        process.wait()
    end_of_wait = time.monotonic() + RUN_SECONDS
    while subprocess.run(["flock", "--nonblock", str(file), "true"], check=False).returncode == 0:
        t.assertLess(time.monotonic(), end_of_wait, "nobody holds the lock")
    return end


def open_block(t: CureTest) -> None:
    block = t.home.folder / "runtime/Velquor.WebServices.ProcessState"
    block.write_bytes(bytes(65536))
    t.give_home()
    block.chmod(0o644)


def fill_disk(t: CureTest):
    """A small disk below the data folder, with no room left."""
    t.home.data().mkdir(mode=0o700, parents=True, exist_ok=True)
    t.give_home()
    options = f"size=256k,mode=700,uid={t.user},gid={t.user}"
    mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", options, "vqws-test", str(t.home.data())], check=False, capture_output=True)
    if mounted.returncode != 0:
        t.skipTest("this machine lets no test mount a small disk")
    with open(filler(t), "wb", buffering=0) as file:
        try:
            while file.write(bytes(4096)):
                pass
        except OSError:
            pass
    os.chown(filler(t), t.user, t.user)
    return lambda: subprocess.run(["umount", str(t.home.data())], check=True)


def filler(t: CureTest) -> pathlib.Path:
    return t.home.data() / "film.mp4"


def become_root(t: CureTest):
    user, t.user = t.user, None

    def end() -> None:
        t.user = user
    return end


def become_root_with_settings(t: CureTest):
    t.set_setting("LogLevel", "DEBUG")
    return become_root(t)


def become_owner(t: CureTest) -> None:
    t.user = t.home.data().stat().st_uid


def chown(path: pathlib.Path, user: int) -> None:
    os.chown(path, user, user)


ROWS = [
    Row("state is a folder", make_folder_of_state, "login state file", "is no regular file", signed_in=False),
    Row("data folder is a file", make_file_of_folder, "data folder", "is not a folder", also=("log file",), signed_in=False),
    Row("disk full", fill_disk, "data folder", "is full", sentence="delete files", person=lambda t: filler(t).unlink(),
        signed_in=False, not_on_windows="Wine uses the disk of this system", not_on_linux=NEEDS_ROOT),
    Row("state cut in half", lambda t: cut(t.state()), "login state file", "is damaged", then="left-over files"),
    Row("state empty", lambda t: t.state().write_bytes(b""), "login state file", "is empty"),
    Row("state of another program", lambda t: t.state().write_bytes(b"<Other/>"), "login state file", 'the document is "Other"',
        then="left-over files"),
    Row("state too large", lambda t: t.state().write_bytes(b" " * (2 << 20) + b" "), "login state file", "larger than the library reads",
        then="left-over files"),
    Row("state not readable", lambda t: t.state().chmod(0), "login state file", "cannot be read", not_on_windows=FILES_OF_POSIX, not_on_linux=NEEDS_RIGHTS),
    Row("state write-protected", write_protect, "login state file", "is write-protected",
        not_on_linux="the library replaces the file, so its own protection does not matter"),
    Row("state open to others", lambda t: t.state().chmod(0o666), "login state file", "has access to",
        person_in_wine=lambda t: t.state().chmod(0o600)),
    Row("state of another machine", copy_state_of_another_home, "login state file", "cannot be used by this user on this machine"),
    Row("state and key of another user", copy_key_of_another_user, "login state file", "cannot be used by this user on this machine",
        then="left-over files", not_on_windows=NO_KEY_FILE, not_on_linux=NEEDS_ROOT),
    Row("sign-in expired", expire, "login state file", "has expired", state="warning"),
    Row("key damaged", lambda t: cut(t.key()), "login state file", "is damaged", then="left-over files", not_on_windows=NO_KEY_FILE),
    Row("key missing", lambda t: t.key().unlink(), "login state file", "is missing", not_on_windows=NO_KEY_FILE),
    Row("key not readable", lambda t: t.key().chmod(0), "login state file", "cannot be read", not_on_windows=NO_KEY_FILE, not_on_linux=NEEDS_RIGHTS),
    Row("key open to others", lambda t: t.key().chmod(0o640), "login state file", "has access to", not_on_windows=NO_KEY_FILE),
    Row("key of another owner", lambda t: chown(t.key(), 0), "data folder", "UserKey.pem belongs to root",
        also=("login state file",), not_on_windows=NO_KEY_FILE, not_on_linux=NEEDS_ROOT),
    Row("damaged state set aside", lambda t: leave(t, "LoginState.xml.damaged-1"), "left-over files", "LoginState.xml.damaged-1",
        state="warning"),
    Row("damaged key set aside", lambda t: leave(t, "UserKey.pem.damaged-2"), "left-over files", "UserKey.pem.damaged-2",
        state="warning"),
    Row("program ended while it wrote", lambda t: leave(t, "LoginState.xml.writing-0123", ONE_HOUR), "left-over files",
        "LoginState.xml.writing-0123", state="warning"),
    Row("data folder not writable", lambda t: t.home.data().chmod(0o500), "data folder", "cannot be written to", also=("log file",),
        not_on_windows=FILES_OF_POSIX, not_on_linux=NEEDS_RIGHTS),
    Row("data folder open to others", lambda t: t.home.data().chmod(0o755), "data folder", "everybody has access",
        not_on_windows=FILES_OF_POSIX),
    Row("data folder of another owner", lambda t: chown(t.home.data(), 0), "data folder", "belongs to root",
        also=("log file",), not_on_windows=FILES_OF_POSIX, not_on_linux=NEEDS_ROOT),
    Row("files of another user, as root", become_root, "data folder", "belongs to nobody", sentence="not as root",
        person=become_owner, not_on_windows=FILES_OF_POSIX, not_on_linux=NEEDS_ROOT),
    Row("settings of another user, as root", become_root_with_settings, "settings", "is not used", sentence="not as root",
        person=become_owner, state="warning", also=("data folder",), not_on_windows=FILES_OF_POSIX, not_on_linux=NEEDS_ROOT),
    Row("lock held", hold_lock, "lock holder", "has been holding the lock",
        not_on_windows="a lock from outside of Wine is no lock inside"),
    Row("block of flags open to others", open_block, "shared block", "everybody has access to",
        not_on_windows="the block is no file there"),
]


class FileCureTest(CureTest):
    def test_each_fault_of_a_file_is_named_and_cured(self):
        self.check_rows(ROWS)

    @unittest.skipIf(SYSROOT or NEEDS_ROOT, NEEDS_ROOT or FILES_OF_POSIX)
    def test_the_files_of_another_user_are_left_alone(self):
        self.sign_in_or_out(True)
        before = {path: (path.stat().st_mtime_ns, path.stat().st_uid) for path in self.home.data().rglob("*")}
        self.user = None
        self.check(3, "status")
        self.assertEqual(before, {path: (path.stat().st_mtime_ns, path.stat().st_uid) for path in self.home.data().rglob("*")})

    @unittest.skipIf(SYSROOT or NEEDS_ROOT, NEEDS_ROOT or FILES_OF_POSIX)
    def test_root_gets_back_a_file_in_a_folder_of_its_own(self):
        self.user = None
        self.home = Home(self.folder / "root-home", SYSROOT)
        self.check_rows([Row("key of an ordinary user", lambda t: chown(t.key(), 65534), "data folder", "UserKey.pem belongs to")])


if __name__ == "__main__":
    unittest.main()
