"""Runs a program and all processes that it starts, and stands before each of their system calls.

The calls of all processes are counted together, in the order in which they happen. What shall be
done at a call decides the caller's function `at_call`: let it happen, kill all processes before it
happens, make it fail with an errno in place of happening, or hold the whole run while the function
does something else. Only x86-64 is known here.
"""
import ctypes
import errno
import os
import platform
import signal
import struct

CALLS = {
    0: "read", 1: "write", 2: "open", 3: "close", 4: "stat", 6: "lstat", 8: "lseek", 9: "mmap",
    17: "pread64", 18: "pwrite64", 20: "writev", 21: "access", 22: "pipe", 32: "dup", 33: "dup2",
    40: "sendfile", 56: "clone", 57: "fork", 58: "vfork", 59: "execve", 61: "wait4", 72: "fcntl",
    74: "fsync", 75: "fdatasync", 76: "truncate", 77: "ftruncate", 82: "rename", 83: "mkdir",
    84: "rmdir", 85: "creat", 86: "link", 87: "unlink", 88: "symlink", 90: "chmod", 91: "fchmod",
    162: "sync", 257: "openat", 258: "mkdirat", 262: "newfstatat", 263: "unlinkat",
    264: "renameat", 265: "linkat", 268: "fchmodat", 269: "faccessat", 277: "sync_file_range",
    285: "fallocate", 293: "pipe2", 296: "pwritev", 306: "syncfs", 316: "renameat2",
    326: "copy_file_range", 328: "pwritev2", 332: "statx", 435: "clone3", 437: "openat2",
    439: "faccessat2",
}

_TRACEME, _CONT_TO_CALL, _SETOPTIONS, _GETEVENTMSG, _POKEUSER, _CALL_INFO = (
    0, 24, 0x4200, 0x4201, 6, 0x420E)
# SYSGOOD, FORK, VFORK, CLONE, EXEC, EXITKILL
_OPTIONS = 1 | 2 | 4 | 8 | 16 | 0x100000
_RAX, _ORIG_RAX = 80, 120
_WALL, _NOTHREAD = 0x40000000, 0x20000000

_libc = ctypes.CDLL(None, use_errno=True)
_libc.ptrace.argtypes = [ctypes.c_long, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p]
_libc.ptrace.restype = ctypes.c_long


def supported():
    return platform.machine() == "x86_64"


def _ptrace(request, pid, address=0, data=0):
    if _libc.ptrace(request, pid, address, data) < 0:
        raise OSError(ctypes.get_errno(), "ptrace")


class Kill(Exception):
    """Raised by `at_call`: all processes end now, before the call happens."""


class Hang(Exception):
    """The run took longer than its time."""


class Call:
    """One system call: in `at_call` before it happens, in `after_call` with its result."""

    def __init__(self, number, pid, name, arguments):
        self.number, self.pid, self.name, self.arguments = number, pid, name, arguments
        self.result = None
        self.fail_with = None  # set by `at_call`: the errno of a call that does not happen
        self.note = None  # what `at_call` wants to remember until `after_call`

    def text(self, index):
        """The text that this argument points to."""
        with open(f"/proc/{self.pid}/mem", "rb", buffering=0) as memory:
            address, text = self.arguments[index], b""
            while b"\0" not in text:
                step = 4096 - (address + len(text)) % 4096
                memory.seek(address + len(text))
                text += memory.read(step)
        return os.fsdecode(text[:text.index(b"\0")])

    def path(self):
        """The absolute path that the call names, or None."""
        if self.name in ("open", "creat", "mkdir", "unlink", "rmdir", "rename", "chmod", "truncate",
                         "stat", "lstat", "access"):
            return self._under(-100, 0)
        if self.name in ("openat", "openat2", "mkdirat", "unlinkat", "renameat", "renameat2",
                         "fchmodat", "newfstatat", "statx", "faccessat", "faccessat2"):
            return self._under(self.arguments[0], 1)
        return None

    def second_path(self):
        """The target of a rename."""
        return self._under(-100, 1) if self.name == "rename" else self._under(self.arguments[2], 3)

    def _under(self, directory, index):
        text = self.text(index)
        if text.startswith("/"):
            return os.path.normpath(text)
        directory = ctypes.c_int(directory & 0xFFFFFFFF).value
        link = "cwd" if directory == -100 else f"fd/{directory}"
        return os.path.normpath(os.path.join(os.readlink(f"/proc/{self.pid}/{link}"), text))


class Run:
    """What became of a run. `status` is the exit status of the program itself, negative for a
    signal, None when the run was killed; `signalled` tells each process that ended by a signal."""

    def __init__(self):
        self.calls, self.status, self.killed, self.hung = 0, None, False, False
        self.signalled = []


def _start(command, environment, output, cwd):
    pid = os.fork()
    if pid:
        return pid
    try:
        for number in range(1, 32):
            signal.signal(number, signal.SIG_DFL) if number not in (9, 19) else None
        os.dup2(os.open("/dev/null", os.O_RDONLY), 0)
        file = os.open(output, os.O_WRONLY | os.O_CREAT | os.O_TRUNC | os.O_CLOEXEC, 0o600)
        os.dup2(file, 1)
        os.dup2(file, 2)
        os.chdir(cwd)
        _ptrace(_TRACEME, 0)
        os.kill(os.getpid(), signal.SIGSTOP)
        os.execve(command[0], command, environment)
    finally:
        os._exit(126)


def _call_info(pid):
    buffer = ctypes.create_string_buffer(88)
    _ptrace(_CALL_INFO, pid, 88, ctypes.addressof(buffer))
    return buffer.raw


def run(command, environment, output, at_call=None, after_call=None, cwd="/", limit=60):
    """Runs the command to its end, or until a call kills it. What it prints goes to `output`."""
    result = Run()
    top = _start(command, environment, output, cwd)
    alive = {top}
    inside = {}  # the call that each process is in

    def out_of_time(*_):
        raise Hang

    def end_all():
        for pid in list(alive):
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def step(pid, status):
        """Handles one stop; the signal to go on with."""
        number = os.WSTOPSIG(status)
        event = status >> 16
        if event:
            if event in (1, 2, 3):
                child = ctypes.c_ulong()
                _ptrace(_GETEVENTMSG, pid, 0, ctypes.addressof(child))
                alive.add(child.value)
            return 0
        if number != signal.SIGTRAP | 0x80:
            # A new process begins with a stop of its own.
            return 0 if number == signal.SIGSTOP else number
        info = _call_info(pid)
        if info[0] == 1:
            numbers = struct.unpack_from("<7Q", info, 24)
            call = Call(result.calls, pid, CALLS.get(numbers[0], f"call {numbers[0]}"), numbers[1:])
            if at_call:
                at_call(call)
            result.calls += 1
            inside[pid] = call
            if call.fail_with:
                _ptrace(_POKEUSER, pid, _ORIG_RAX, ctypes.c_ulong(-1 & (1 << 64) - 1).value)
        elif info[0] == 2:
            call = inside.pop(pid, None)
            if call and call.fail_with:
                _ptrace(_POKEUSER, pid, _RAX, (1 << 64) - call.fail_with)
            elif call and after_call:
                call.result = struct.unpack_from("<q", info, 24)[0]
                after_call(call)
        return 0

    previous = signal.signal(signal.SIGALRM, out_of_time)
    signal.setitimer(signal.ITIMER_REAL, limit)
    try:
        while alive:
            try:
                pid, status = os.waitpid(-1, _WALL | _NOTHREAD)
            except ChildProcessError:
                break
            if os.WIFEXITED(status) or os.WIFSIGNALED(status):
                alive.discard(pid)
                if pid == top and not result.killed:
                    result.status = os.waitstatus_to_exitcode(status)
                if os.WIFSIGNALED(status) and not result.killed:
                    result.signalled.append(os.WTERMSIG(status))
                continue
            alive.add(pid)
            if result.killed:
                end_all()
                continue
            try:
                first = pid == top and not result.calls and os.WSTOPSIG(status) == signal.SIGSTOP
                if first:
                    _ptrace(_SETOPTIONS, pid, 0, _OPTIONS)
                _ptrace(_CONT_TO_CALL, pid, 0, step(pid, status))
            except Kill:
                result.killed = True
                end_all()
            except OSError as error:
                if error.errno != errno.ESRCH:
                    raise
    except Hang:
        result.killed = result.hung = True
        end_all()
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, previous)
        while True:
            end_all()
            try:
                alive.add(os.waitpid(-1, _WALL | _NOTHREAD)[0])
            except ChildProcessError:
                break
    return result
