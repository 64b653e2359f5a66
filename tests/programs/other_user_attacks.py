"""What another user of the machine can do to a user who signs in. The test runs this program as that other user, once for each row."""
import contextlib
import ctypes
import dataclasses
import fcntl
import hashlib
import itertools
import os
import pathlib
import re
import select
import shutil
import signal
import socket
import subprocess
import sys
from collections.abc import Callable

LIBC = ctypes.CDLL(None, use_errno=True)
IPC_PRIVATE, IPC_CREAT, IPC_EXCL, IPC_RMID, SETVAL = 0, 0o1000, 0o2000, 0, 16
SOCKET, BLOCKS = "Velquor.WebServices", ["Velquor.WebServices.ProcessState", "Velquor.WebServices.TokenRefresher"]
SEMAPHORES = ["VqWebServicesLoginStateSemaphore", "Velquor.WebServices.ProcessState.Semaphore"]
LOCKS = [f"{name}.lock" for name in ["UserKey", f"{SOCKET}.Server", *SEMAPHORES]]
DATA_FILES = ["LoginState.xml", "UserKey.pem", "Event.xml", "EventTrigger.tmp", "WebServicesCache.xml", "WebServices.log"]
LONG_NAME = "r" * 90  # A socket in a folder of this name is in /tmp instead.


@dataclasses.dataclass
class Place:
    """A row's folders. Both users may write to `shared`; the sticky bit is on it unless the row says otherwise."""
    base: pathlib.Path
    uid: int

    @property
    def shared(self) -> pathlib.Path:
        return self.base / "shared"

    @property
    def home(self) -> pathlib.Path:
        return self.base / "home"

    @property
    def data(self) -> pathlib.Path:
        return self.home / "data/Velquor/Web Services"

    @property
    def short_runtime(self) -> pathlib.Path:
        return pathlib.Path(f"/tmp/velquor-{self.uid}")

    def key_files(self, kind: str = "systemsem") -> list[pathlib.Path]:
        """As a program with QSystemSemaphore or QSharedMemory names them."""
        keys = [f"{name}.{self.uid}" for name in SEMAPHORES] if kind == "systemsem" else BLOCKS
        return [self.shared / f"qipc_{kind}_{re.sub('[^A-Za-z]', '', key)}{hashlib.sha1(key.encode()).hexdigest()}" for key in keys]


Attack = Callable[[Place], Callable[[], object] | None]
_held: list[object] = []
_semaphores: list[int] = []


@dataclasses.dataclass
class Row:
    """`attack` runs before the user's first program starts. What it returns runs again and again while the user works."""
    name: str
    attack: Attack
    # The user's variables; {shared} and {home} are replaced.
    variables: dict[str, str] = dataclasses.field(default_factory=dict)
    # What is there before, by the user's own fault or by the system's.
    given: Callable[[Place], object] | None = None
    # Nobody can sign in without a folder of their own. Then a product must say so, and wait for nothing.
    has_folder: bool = True
    # What is repeated begins when the first program runs.
    after_start: bool = False
    needs_namespace: bool = False


# How a name is taken before the user's programs come to it

def hold(file: pathlib.Path, mode: int = 0o666) -> int:
    descriptor = os.open(file, os.O_RDWR | os.O_CREAT, mode)
    os.chmod(file, mode)
    _held.append(descriptor)
    return descriptor


def locked(file: pathlib.Path) -> None:
    descriptor = hold(file)
    fcntl.flock(descriptor, fcntl.LOCK_EX)
    fcntl.lockf(descriptor, fcntl.LOCK_EX)


def leased(file: pathlib.Path) -> None:
    """Whoever opens the file waits until the holder of the lease gives it up, or for 45 s."""
    fcntl.fcntl(hold(file), fcntl.F_SETLEASE, fcntl.F_WRLCK)


def pipe(file: pathlib.Path) -> None:
    os.mkfifo(file)
    os.chmod(file, 0o666)


def folder(file: pathlib.Path) -> None:
    file.mkdir()
    file.chmod(0o777)


def closed(file: pathlib.Path) -> None:
    hold(file, 0o600)


def circle(file: pathlib.Path) -> None:
    file.symlink_to(file.name)


def listening(file: pathlib.Path | str) -> None:
    server = socket.socket(socket.AF_UNIX)
    if isinstance(file, pathlib.Path):
        os.chdir(file.parent)  # the path may be too long for a socket
        server.bind(file.name)
        file.chmod(0o777)
    else:
        server.bind(file)
    server.listen(1)
    _held.append(server)


def take(names: Callable[[Place], list[pathlib.Path]], how: Callable[[pathlib.Path], None]) -> Attack:
    def attack(place: Place) -> None:
        for name in names(place):
            how(name)
    return attack


def key_files(how: Callable[[pathlib.Path], None]) -> Attack:
    return take(Place.key_files, how)


def shared(*names: str) -> Callable[[Place], list[pathlib.Path]]:
    return lambda place: [place.shared / name for name in names]


def link_to_state(names: Callable[[Place], list[pathlib.Path]]) -> Attack:
    return lambda place: take(names, lambda file: file.symlink_to(place.data / "LoginState.xml"))(place)


# System V objects

def key_of(file: pathlib.Path) -> int:
    return LIBC.ftok(str(file).encode(), ord("Q"))


def semaphore(key: int, mode: int = 0o666, count: int = 0) -> int:
    found = LIBC.semget(key, 1, IPC_CREAT | IPC_EXCL | mode)
    if found != -1:
        _semaphores.append(found)
        LIBC.semctl(found, 0, SETVAL, count)
    return found


def remove_semaphores() -> None:
    for number in _semaphores:
        LIBC.semctl(number, 0, IPC_RMID)
    _semaphores.clear()


def semaphores_of_key(place: Place, mode: int = 0o666) -> None:
    for file in place.key_files():
        assert semaphore(key_of(file), mode) != -1


def own_key_files_and_semaphores(place: Place) -> None:
    key_files(hold)(place)
    semaphores_of_key(place)


def passing_semaphores(place: Place) -> Callable[[], object]:
    def come_and_go() -> None:
        remove_semaphores()
        with contextlib.suppress(AssertionError):
            semaphores_of_key(place)
    return come_and_go


def all_semaphores(_: Place) -> None:
    while semaphore(IPC_PRIVATE) != -1:
        pass


def shared_memory(place: Place) -> None:
    """Segments of the keys, for everybody and of one byte."""
    for file in place.key_files("sharedmemory"):
        hold(file)
        _held.append(LIBC.shmget(key_of(file), 1, IPC_CREAT | IPC_EXCL | 0o666))


def leave_key_files(place: Place) -> None:
    """As after a restart of the machine: the user's key files are there, and the semaphores are not."""
    for file in place.key_files():
        file.touch(0o600)
        os.chown(file, place.uid, place.uid)


# Folders that both may write to

def without_sticky_bit(place: Place) -> None:
    place.shared.chmod(0o777)


def replaced_key_files(place: Place) -> Callable[[], object]:
    def replace() -> None:
        for file in place.key_files():
            with contextlib.suppress(OSError):
                if file.stat().st_uid != os.geteuid():
                    file.unlink()
                    leased(file)
    return replace


def few_inodes(place: Place) -> None:
    subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=1777,nr_inodes=50,size=1m", "none", str(place.shared)], check=True)


def fill(place: Place) -> None:
    with contextlib.suppress(OSError):
        for number in itertools.count():
            (place.shared / f"full-{number}").touch()


def open_runtime(place: Place) -> None:
    """A runtime folder that was made without a mask."""
    make_open(place, "home/runtime")
    place.home.chmod(0o755)


def make_open(place: Place, name: str) -> None:
    made = place.base / name
    made.mkdir(exist_ok=True, parents=True)
    os.chown(made, place.uid, place.uid)
    made.chmod(0o777)


def taken_runtime(runtime: pathlib.Path) -> None:
    runtime.mkdir(exist_ok=True)
    for name in [*BLOCKS, *LOCKS]:
        leased(runtime / name)
    listening(runtime / SOCKET)
    with contextlib.suppress(PermissionError):
        runtime.chmod(0o777)


def moved_runtime(place: Place) -> Callable[[], object]:
    runtime = place.shared / "run"

    def move() -> None:
        with contextlib.suppress(OSError):
            if runtime.stat().st_uid != os.geteuid():
                runtime.rename(place.shared / "away")
                folder(runtime)
                taken_runtime(runtime / "user")
    return move


def own_runtime(place: Place) -> None:
    without_sticky_bit(place)
    for made in [place.shared / "run", place.shared / "run/user"]:
        made.mkdir(0o700)
        os.chown(made, place.uid, place.uid)


def turning_link(place: Place) -> Callable[[], object]:
    """The runtime folder is a link that leads to two folders of the user in turn."""
    targets = itertools.cycle([place.home / "runtime", place.home / "config"])

    def turn() -> None:
        (place.shared / "next").symlink_to(next(targets))
        (place.shared / "next").rename(place.shared / "run")
    turn()
    return turn


def own_short_runtime(how: Callable[[pathlib.Path], None]) -> Attack:
    return lambda place: how(place.short_runtime)


def short_socket(place: Place) -> pathlib.Path:
    path = f"{place.home}/{LONG_NAME}/{SOCKET}"
    return place.short_runtime / hashlib.sha256(path.encode()).hexdigest()[:32]


def served_short_runtime(place: Place) -> None:
    folder(place.short_runtime)
    listening(short_socket(place))


def abstract_names(place: Place) -> None:
    for name in [SOCKET, f"{place.home}/runtime/{SOCKET}", str(short_socket(place)), f"/tmp/{SOCKET}"]:
        listening("\0" + name)


def thousands_of_connections(place: Place) -> Callable[[], object]:
    _held.append(names := [place.home / "runtime" / SOCKET, place.data / SOCKET, place.shared / SOCKET, short_socket(place)])

    def connect() -> None:
        for name in names:
            with contextlib.suppress(OSError):
                client = socket.socket(socket.AF_UNIX)
                client.setblocking(False)
                client.connect(str(name))
                client.send(b"\xff" * 4096)
                _held.append(client)
    return lambda: [connect() for _ in range(100)]


def vendor_folder(place: Place) -> None:
    """The maker's folder was made without a mask."""
    (place.shared / "data").mkdir()
    os.chown(place.shared / "data", place.uid, place.uid)
    make_open(place, "shared/data/Velquor")


def moved_data(place: Place) -> Callable[[], object]:
    data = place.shared / "data/Velquor/Web Services"

    def move() -> None:
        with contextlib.suppress(OSError):
            if data.exists() and data.stat().st_uid != os.geteuid():
                data.rename(data.with_name("away"))
                data.mkdir()
    return move


def foreign_data(how: Callable[[pathlib.Path], None]) -> Attack:
    def attack(place: Place) -> Callable[[], object]:
        data = place.shared / "data/Velquor/Web Services"
        data.mkdir(parents=True)
        for name in [*DATA_FILES, *LOCKS, *BLOCKS, "WebServices.log.lock"]:
            how(data / name)
        for made in [data, *data.parents[:2]]:
            made.chmod(0o777)

        def flood() -> None:
            for number in range(200):
                (data / f"{number}.tmp").touch()
        return flood
    return attack


def open_data(place: Place) -> None:
    """The data folder was made without a mask."""
    without_sticky_bit(place)
    for name in ["shared/data", "shared/data/Velquor", "shared/data/Velquor/Web Services"]:
        make_open(place, name)


def data_names(*more: str) -> Callable[[Place], list[pathlib.Path]]:
    return lambda place: [place.shared / "data/Velquor/Web Services" / name for name in [*DATA_FILES, *LOCKS, "WebServices.log.lock", *more]]


def readable_lock(place: Place) -> None:
    """A lock of the log that an earlier version left, readable for all."""
    lock = place.shared / "WebServices.log.lock"
    lock.touch(0o644)
    os.chown(lock, place.uid, place.uid)


def settings_file(place: Place) -> pathlib.Path:
    file = place.shared / "config/Velquor/Web Services.conf"
    file.parent.mkdir(parents=True)
    return file


def settings_pipe(place: Place) -> None:
    pipe(settings_file(place))


def settings_text(place: Place) -> None:
    """Settings that lead to a log which never takes a line."""
    logs = place.shared / "logs"
    folder(logs)
    pipe(logs / "WebServices.log")
    settings_file(place).write_text(f"[General]\nWebServicesLogFilePath={logs}/WebServices.log\n", encoding="utf-8")


def read_lock(place: Place) -> Callable[[], object]:
    """A lock for reading, which is allowed to whoever may read the file."""
    taken = []

    def lock() -> None:
        with contextlib.suppress(OSError):
            if not taken:
                taken.append(descriptor := os.open(place.shared / "WebServices.log.lock", os.O_RDONLY))
                fcntl.flock(descriptor, fcntl.LOCK_EX)
                fcntl.lockf(descriptor, fcntl.LOCK_SH)
    return lock


def replaced_log(place: Place, folder_name: str = "shared") -> Callable[[], object]:
    """A log that looks too large, so that the log library opens it again, and waits."""
    log = place.base / folder_name / "WebServices.log"

    def replace() -> None:
        with contextlib.suppress(OSError):
            if log.stat().st_uid != os.geteuid():
                log.unlink()
                leased(log)
                os.truncate(log, 6 << 20)
    return replace


def foreign_logs(place: Place) -> Callable[[], object]:
    folder(place.shared / "logs")
    return replaced_log(place, "shared/logs")


def own_package(place: Place) -> None:
    """The package for Python, copied by the user; the library is installed elsewhere."""
    source = pathlib.Path(os.environ["VQ_SOURCE_DIR"]) / "bindings/python/vqws"
    shutil.copytree(source, place.shared / "mine/vqws", ignore=shutil.ignore_patterns("__pycache__"))
    for path in [place.shared / "mine", *(place.shared / "mine").rglob("*")]:
        os.chown(path, place.uid, place.uid)


def planted_library(place: Place) -> None:
    """Another library of that name, or a link to one, where the package looks in a folder above it."""
    for name, put in [("", shutil.copy), ("bin", os.symlink), ("lib", shutil.copy)]:
        (place.shared / name).mkdir(exist_ok=True)
        put(find_library("libm.so.6"), place.shared / name / "libvqws.so.1")


def find_library(name: str) -> str:
    ctypes.CDLL(name)
    maps = pathlib.Path("/proc/self/maps").read_text(encoding="utf-8")
    return next(line.split()[-1] for line in maps.splitlines() if line.endswith(f"/{name}"))


def full_current_folder(place: Place) -> None:
    for name in ["WebServices.logconfig", "VqWebservicesURLs.config", "libvqws.so.1", "libVqWebServices.so.13", "libssl.so.3", "openssl.cnf"]:
        hold(place.shared / name)
    for name in ["plugins", "platforms", "tls", "bearer"]:
        folder(place.shared / name)


LOG, LOG_LOCK = shared("WebServices.log"), shared("WebServices.log.lock")
LOG_HERE = {"VQWS_LOGFILEDIR": "{shared}"}
RUN_HERE = {"XDG_RUNTIME_DIR": "{shared}/run"}
LONG_RUN = {"XDG_RUNTIME_DIR": "{home}/" + LONG_NAME}
DATA_HERE = {"XDG_DATA_HOME": "{shared}/data"}
PACKAGE_HERE = {"PYTHONPATH": "{shared}/mine", "VQWS_LIBRARY": "", "LD_LIBRARY_PATH": os.environ.get("VQ_BINARY_DIR", "") + "/bin"}
CONFIG_HERE = {"XDG_CONFIG_HOME": "{shared}/config"}

ROWS = [
    Row("key files made first, closed", key_files(closed)),
    Row("key files made first, for everybody", key_files(hold)),
    Row("key files are locked", key_files(locked)),
    Row("key files are leased", key_files(leased)),
    Row("key files are pipes", key_files(pipe)),
    Row("key files are folders", key_files(folder)),
    Row("key files are a circle of links", key_files(circle)),
    Row("key files are links to the login state", link_to_state(Place.key_files)),
    Row("key files are sockets", key_files(listening)),
    Row("key files are replaced all the time", replaced_key_files, given=without_sticky_bit),
    Row("semaphores of own key files, never released", own_key_files_and_semaphores),
    Row("semaphores of the user's key files, never released", semaphores_of_key, given=leave_key_files),
    Row("semaphores of the user's key files, closed", lambda place: semaphores_of_key(place, 0o600), given=leave_key_files),
    Row("semaphores of the user's key files come and go", passing_semaphores, given=leave_key_files),
    Row("all semaphores of the machine in use", all_semaphores, needs_namespace=True),
    Row("shared memory of the keys made first", shared_memory),
    Row("temporary folder is full", fill, given=few_inodes, needs_namespace=True),
    Row("runtime folder made first", lambda place: taken_runtime(place.shared / "run"), RUN_HERE),
    Row("runtime folder is a link that turns", turning_link, RUN_HERE),
    Row("runtime folder open to all, its names taken", lambda place: taken_runtime(place.home / "runtime"), given=open_runtime),
    Row("runtime folder moved away and replaced", moved_runtime, {"XDG_RUNTIME_DIR": "{shared}/run/user"}, given=own_runtime, after_start=True),
    Row("short folder made first, with a server", served_short_runtime, LONG_RUN),
    Row("short folder is a pipe", own_short_runtime(pipe), LONG_RUN),
    Row("short folder is a link to the user's folder", lambda place: place.short_runtime.symlink_to(place.home / "config"), LONG_RUN),
    Row("abstract names of the sockets taken", abstract_names),
    Row("thousands of connections", thousands_of_connections),
    Row("connections to an open runtime folder", thousands_of_connections, given=open_runtime),
    Row("data folder moved away and replaced", moved_data, DATA_HERE, given=vendor_folder, after_start=True),
    Row("data folder was open to all, all names are pipes", take(data_names(), pipe), DATA_HERE, given=open_data),
    Row("data folder was open to all, all names are locked", take(data_names(), locked), DATA_HERE, given=open_data),
    Row("data folder was open to all, all names are folders", take(data_names(*BLOCKS), folder), DATA_HERE, given=open_data),
    Row("data home of another, all names are pipes", foreign_data(pipe), DATA_HERE, has_folder=False),
    Row("data home of another, all names are leased", foreign_data(leased), DATA_HERE, has_folder=False),
    Row("data home of another, all names are locked", foreign_data(locked), DATA_HERE | {"XDG_RUNTIME_DIR": ""}, has_folder=False),
    Row("settings file is a pipe", settings_pipe, CONFIG_HERE),
    Row("settings of another", settings_text, CONFIG_HERE),
    Row("log is a pipe", take(LOG, pipe), LOG_HERE),
    Row("log is leased", take(LOG, leased), LOG_HERE),
    Row("log is a link to the login state", link_to_state(LOG), LOG_HERE),
    Row("log replaced all the time", replaced_log, LOG_HERE, given=without_sticky_bit, after_start=True),
    Row("log folder of another", foreign_logs, {"VQWS_LOGFILEDIR": "{shared}/logs"}, after_start=True),
    Row("lock of the log made first and held", take(LOG_LOCK, locked), LOG_HERE),
    Row("lock of the log is leased", take(LOG_LOCK, leased), LOG_HERE),
    Row("lock of the log held by a reader", read_lock, LOG_HERE),
    Row("old lock of the log held by a reader", lambda place: read_lock(place)(), LOG_HERE, given=readable_lock),
    Row("current folder full of names", full_current_folder),
    Row("library planted above a package", planted_library, PACKAGE_HERE, given=own_package),
]


def main(name: str, base: str, uid: str) -> None:
    os.umask(0)
    signal.signal(signal.SIGIO, signal.SIG_IGN)  # comes when somebody wants to open a leased file
    row = next(row for row in ROWS if row.name == name)
    repeat = row.attack(Place(pathlib.Path(base), int(uid)))
    print("ready", flush=True)
    if row.after_start:
        sys.stdin.readline()
    while not select.select([sys.stdin], [], [], 0.005 if repeat else None)[0]:
        repeat()
    remove_semaphores()


if __name__ == "__main__":
    main(*sys.argv[1:])
