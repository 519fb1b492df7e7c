"""The campaigns: each tells the labels of its faults for a scenario, and tries one of them on a host
of its own. A trial returns what was lost, nothing if all promises held."""
import contextlib
import ctypes
import errno
import json
import os
import pathlib
import random
import shutil
import signal
import sqlite3
import subprocess
import threading
import time

import power_loss
import tracer
from scenarios import FULL_DISK, HELD_LOOKS, SCENARIOS, make_template, old_store
from world import Seen, World

LOOKS = [("queue list",), ("queue stats",), ("store status",), ("incidents",), ("results",)]
ROADS = SCENARIOS | HELD_LOOKS


class Bench:
    """Where the trials stand, and what they share."""

    def __init__(self, directory, programs, seed, full):
        self.directory, self.programs = pathlib.Path(directory), programs
        self.seed, self.full, self.shared = seed, full, {}

    def template(self, name):
        if name not in self.shared:
            self.shared[name] = make_template(name, self.directory / "templates", self.programs)
        return self.shared[name]

    @contextlib.contextmanager
    def place(self):
        """A directory that is gone afterwards, and does not exist yet."""
        root = self.directory / f"trial-{os.getpid()}"
        try:
            yield root
        finally:
            shutil.rmtree(root, ignore_errors=True)

    @contextlib.contextmanager
    def host(self, name):
        with self.place() as root:
            yield self.template(name).clone(root)

    def random(self, label):
        return random.Random(f"{self.seed}/{label}")


def traced(world, steps, at_call=None, after_call=None, limit=60, answered=lambda step: None):
    """Runs the steps under the tracer, their calls counted through: the faults of those that ended,
    the number of calls, and whether all of them ended with 0."""
    faults, calls, good = [], 0, True
    for step in steps:
        def here(call, before=calls):
            call.number += before
            if at_call:
                at_call(call)
        world.begin(step)
        command, environment = world.command(step)
        output = world.root.parent / (world.root.name + ".out")
        result = tracer.run(command, environment, output, here, after_call, limit=limit)
        calls += result.calls
        if result.hung:
            faults.append(f"{step[0]} hangs")
        # A helper in a pipeline whose reader is gone ends so by design.
        ends = [each for each in result.signalled if each != signal.SIGPIPE]
        if ends or (result.status or 0) < 0:
            faults.append(f"{step[0]}: a process ends by signal {ends}")
        if result.killed:
            return faults, calls, False
        faults += world.end(step, result.status)
        good = good and result.status == 0
        if result.status == 0:
            answered(step)
    return faults, calls, good


def aftermath(world, name):
    return world.standing_faults() + world.recovery_faults(ROADS[name].recovery)


def count_calls(bench, name, at_call=None):
    """The calls of an undisturbed run, which must be a good one."""
    with bench.host(name) as world:
        faults, calls, good = traced(world, ROADS[name].steps, at_call)
        faults += aftermath(world, name)
        if faults or not good:
            raise RuntimeError(f"{name} fails without any fault: {faults}")
        return calls


# ---- kill: all processes at a call

def kill_labels(bench, name):
    return [str(number) for number in range(count_calls(bench, name))]


def kill_trial(bench, name, label):
    def at_call(call):
        if call.number == int(label):
            what.append(call.name)
            raise tracer.Kill
    what = []
    with bench.host(name) as world:
        faults = traced(world, SCENARIOS[name].steps, at_call)[0] + aftermath(world, name)
        return [f"killed at {what}: {fault}" for fault in faults]


# ---- fail: one call, or from then on all of its kind or all on its file

WRITES = ("write", "pwrite64", "writev", "pwritev")
FAILS = {
    "write": (WRITES, ("ENOSPC", "EIO", "EINTR")),
    "read": (("read", "pread64"), ("EIO", "EINTR")),
    "sync": (("fsync", "fdatasync", "syncfs"), ("EIO", "ENOSPC", "EINTR")),
    "rename": (("rename", "renameat", "renameat2"), ("EIO", "EACCES")),
    "open": (("open", "openat", "creat"), ("EMFILE", "EACCES", "ENOSPC", "EIO", "EINTR")),
    "stat": (("stat", "lstat", "newfstatat", "statx", "access", "faccessat", "faccessat2"),
             ("EIO", "EACCES")),
    "mkdir": (("mkdir", "mkdirat"), ("ENOSPC", "EACCES", "EIO")),
    "chmod": (("chmod", "fchmod", "fchmodat"), ("EIO", "EACCES")),
    "truncate": (("ftruncate",), ("EIO", "EINTR")),
    "unlink": (("unlink", "unlinkat"), ("EIO", "EACCES")),
    "pipe": (("pipe", "pipe2"), ("EMFILE",)),
    "fork": (("fork", "vfork", "clone", "clone3"), ("EAGAIN",)),
    "exec": (("execve",), ("EACCES", "EIO")),
    "wait": (("wait4",), ("EINTR",)),
}


def kind_of(call):
    """The kind of a call that is made to fail; the reads of the dynamic loader are none."""
    for kind, (names, _) in FAILS.items():
        if call.name in names:
            path = call.path() if kind in ("open", "stat") else None
            if kind == "read":
                with contextlib.suppress(FileNotFoundError):  # a descriptor that is closed
                    path = os.readlink(f"/proc/{call.pid}/fd/{call.arguments[0]}")
            return None if path and (".so" in path or path.startswith("/etc/ld")) else kind
    return None


def fail_labels(bench, name):
    kinds = {}

    def at_call(call):
        kind = kind_of(call)
        kinds[kind] = kinds.get(kind, 0) + 1
    count_calls(bench, name, at_call)
    labels = []
    for kind, (_, reasons) in FAILS.items():
        for reason in reasons:
            # A system interrupts a call, not every call; and who gives up at a failed read or look
            # meets no other.
            once = reason == "EINTR" or kind in ("read", "stat")
            # A file that cannot be read fails for every program, while the other files do not.
            of_file = ["file"] if kind == "open" and reason == "EIO" else []
            for extent in ["once"] if once else ["once", "on"] + of_file:
                labels += [f"{kind}:{number}:{reason}:{extent}" for number in range(kinds.get(kind, 0))]
    return labels


def fail_trial(bench, name, label):
    kind, first, reason, extent = label.split(":")
    what, seen, path = [], [0], []

    def at_call(call):
        if kind_of(call) != kind:
            return
        if seen[0] == int(first) and extent == "file":
            path.append(call.path())
        if seen[0] == int(first) or (extent == "on" and seen[0] > int(first)) or (
                path and call.path() == path[0]):
            call.fail_with = getattr(errno, reason)
            what.append(f"{call.name} (call {call.number})")
        seen[0] += 1
    with bench.host(name) as world:
        faults = traced(world, SCENARIOS[name].steps, at_call)[0] + aftermath(world, name)
        return [f"{what[:1]} fails: {fault}" for fault in faults]


# ---- full: a small disk under a part of the host

_libc = ctypes.CDLL(None, use_errno=True)
_NEWNS, _REMOUNT, _REC_PRIVATE = 0x20000, 32, 0x4000 | 0x40000


def mount(path, pages, flags=0):
    if _libc.mount(b"tmpfs", os.fsencode(path), b"tmpfs", flags, b"size=%d" % (pages * 4096)):
        raise OSError(ctypes.get_errno(), f"cannot mount {path}")


def may_mount():
    """Whether this process can have mounts of its own; it has them from then on."""
    return (_libc.unshare(_NEWNS) == 0 and
            _libc.mount(b"none", b"/", None, _REC_PRIVATE, None) == 0)


@contextlib.contextmanager
def small_disk(bench, name):
    """The host with a part of it on a disk of its own, large as yet."""
    scenario, part = FULL_DISK[name]
    template = bench.template(scenario)
    with bench.place() as root:
        (root / part).mkdir(parents=True)
        disk = root / part
        mount(disk, 100000)
        try:
            shutil.copytree(template.root, root, dirs_exist_ok=True)
            world = World(root, bench.programs, template.transport)
            world.promised, world.possible = set(template.promised), set(template.possible)
            world.open_incidents = set(template.open_incidents)
            world.configure()
            # The event files are written while there is room.
            commands = [world.command(step) for step in SCENARIOS[scenario].steps]
            yield world, disk, scenario, commands
        finally:
            _libc.umount2(os.fsencode(disk), 2)


def used_pages(disk):
    figures = os.statvfs(disk)
    return (figures.f_blocks - figures.f_bfree) * figures.f_frsize // 4096


def full_labels(bench, name):
    """Sizes in pages: from what is used at first to where the work has room."""
    with small_disk(bench, name) as (world, disk, scenario, _):
        before, most = used_pages(disk), [0]
        traced(world, SCENARIOS[scenario].steps,
               lambda call: most.append(max(most.pop(), used_pages(disk))))
        room = most[0] - before + 1
        return list(dict.fromkeys(str(before + index * room // 64) for index in range(64)))


def full_trial(bench, name, label):
    with small_disk(bench, name) as (world, disk, scenario, commands):
        mount(disk, max(1, int(label)), _REMOUNT)
        faults = []
        for step, (command, environment) in zip(SCENARIOS[scenario].steps, commands):
            world.begin(step)
            done = subprocess.run(command, env=environment, cwd="/", stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)
            if done.returncode < 0:
                faults.append(f"{step[0]} ends by signal {-done.returncode}")
            faults += world.end(step, done.returncode)
        faults += world.standing_faults()
        mount(disk, 100000, _REMOUNT)
        return faults + world.recovery_faults(SCENARIOS[scenario].recovery)


# ---- power: states that a loss of power may leave

def record(bench, name):
    """The operations of a good run, with a mark behind each answer."""
    with bench.host(name) as world:
        for step in SCENARIOS[name].steps:
            world.command(step)
        recorder = power_loss.Recorder(world.root)
        good = traced(world, SCENARIOS[name].steps, recorder.at_call, recorder.after_call,
                      answered=lambda step: recorder.log.append(("answer", step)))[2]
        if not good:
            raise RuntimeError(f"{name} fails without any fault")
        return recorder


def power_state(bench, name, label):
    """The state of this label, and the steps that had been answered before."""
    recorder = bench.shared["log " + name]
    at_end = len(recorder.log) if int(label) % 4 == 0 else None
    cut, tree = power_loss.state(recorder, f"{bench.seed}/{name}/{label}", at_end)
    return [each[1] for each in recorder.log[:cut] if each[0] == "answer"], tree


def power_labels(bench, name):
    """A thousand states that differ, as far as there are so many."""
    bench.template(name)
    bench.shared["log " + name] = record(bench, name)
    labels, known = [], set()
    wanted = 1000 if bench.full else 100
    for number in range(4 * wanted):
        mark = power_loss.digest(*power_state(bench, name, str(number)))
        if mark not in known:
            known.add(mark)
            labels.append(str(number))
        if len(labels) == wanted:
            break
    return labels


def power_trial(bench, name, label):
    answered, tree = power_state(bench, name, label)
    template = bench.template(name)
    with bench.place() as root:
        power_loss.write_tree(tree, root)
        world = World(root, bench.programs, template.transport)
        world.open_incidents, world.promised = template.open_incidents, set(template.promised)
        world.possible = template.possible | {s[1] for s in SCENARIOS[name].steps if len(s) > 1}
        for step in answered:
            world.end(step, 0, alone=False)
        world.configure()
        return aftermath(world, name)


# ---- held: a run stands before each of its calls while others run

# What these have done once is done. The last one takes the rows away from under a flush: it delivers
# them, deletes them and puts another one in their place.
CHANGERS = [("flush all",), ("maintain",), ("overtake",)]


def wrong_answer(step, text, kept, possible):
    """What is wrong with what a look prints: the events in `kept` were pending all the time, others
    of those in `possible` for a part of it."""
    try:
        rows = [json.loads(line) for line in text.splitlines()]
        if step[0].startswith("queue list"):
            listed = [row["event_id"] for row in rows]
            good = len(set(listed)) == len(listed) and kept <= set(listed) <= possible
        elif step[0].startswith("queue stats"):
            good = len(kept) <= rows[0]["pending"] == sum(
                age["count"] for age in rows[0]["by_age"]) <= len(possible)
        else:
            good = rows == [{"ok": True, "obstacles": []}]
    except (ValueError, KeyError, IndexError):
        good = False
    return [] if good else [f"{step[0]} answers {text[-300:]}"]


def holdable():
    """Whether a call is one of our programs behind its start: the shell, its helpers and the dynamic
    loader know nothing of the store."""
    begun = set()

    def holds(call):
        if call.name == "openat" and call.path().endswith("/config.yaml"):
            begun.add(call.pid)
        return call.pid in begun
    return holds


def held_labels(bench, name):
    """`other:first:every`: what runs meanwhile, and before which calls: looks and senders before
    many calls of one run, the others before one call of each run, spread over a long one. A look that
    is held is given up where the store changes each time, so senders come once."""
    held, holds, send = [], holdable(), [("send",)]
    count_calls(bench, name, lambda call: held.append(call) if holds(call) else None)
    calls = len(held)
    beside, once = (LOOKS + send, CHANGERS) if name in SCENARIOS else ([], CHANGERS + send)
    labels = [f"{other[0]}:0:{1 if bench.full else 20}" for other in beside]
    for other in once:
        share = max(1, calls / (500 if bench.full else 9))
        begin = bench.random(f"{name}/{other}").random() * share
        labels += [f"{other[0]}:{int(begin + n * share)}:0" for n in range(int(calls / share))]
    return labels


def held_trial(bench, name, label):
    other, first, every = label.split(":")
    faults, running, calls, holds = [], [], [0], holdable()

    def beside(steps):
        for fault in [fault for step in steps for fault in world.run(step, alone=False)]:
            if "no such column" in fault and ROADS[name].prepare is old_store:
                faults.append("KNOWN: " + fault)  # a look changes nothing, so nor an older schema
            elif "no store" not in fault:  # one that is being made is none yet
                faults.append(fault)

    def at_call(call):
        if not holds(call):
            return
        calls[0] += 1
        beyond = calls[0] - 1 - int(first)
        if beyond < 0 or (beyond % int(every) if int(every) else beyond):
            return
        if running and running[0].is_alive():
            return
        send = ("send", f"evt-beside-{calls[0]}")
        steps = {"send": [send], "overtake": CHANGERS[:2] + [send]}.get(other, [(other,)])
        running[:] = [threading.Thread(target=beside, args=[steps])]
        running[0].start()
        running[0].join(0.15)  # it may wait for a lock of the held one

    with bench.host(name) as world:
        held = []
        kept = set(Seen(world).pending()) if other in ("send", "maintain") else set()
        for step in ROADS[name].steps:
            world.begin(step)
            command, environment = world.command(step)
            result = tracer.run(command, environment, world.root.parent / f"{world.root.name}.out",
                                at_call, limit=600)
            text = (world.root.parent / f"{world.root.name}.out").read_text()
            if result.status != 0:
                # SQLite gives up where each of a hundred tries finds the store changed, and says so.
                known = "KNOWN: " if "locking protocol" in text else ""
                held.append(f"{known}held {step[0]} ends with {result.status}: {text[-300:]}")
            elif name in HELD_LOOKS:
                held += wrong_answer(step, text, kept, world.promised | world.possible)
            world.end(step, result.status, alone=False)
        for thread in running:
            thread.join()
        return held + faults + aftermath(world, name)


# ---- storm: all at once, with random kills

def storm_labels(bench, name):
    return [f"{number}:{30 if bench.full else 3}" for number in range(2)]


def kill_group(leader):
    with contextlib.suppress(ProcessLookupError):  # it has ended by itself
        os.killpg(leader, signal.SIGKILL)


def storm_trial(bench, name, label):
    choice, faults = bench.random(label), []
    end = time.monotonic() + int(label.split(":")[1])

    def loop(number, steps):
        chance, count = random.Random(f"{bench.seed}/{label}/{number}"), 0
        while time.monotonic() < end:
            count += 1
            step = chance.choice(steps)
            if step[0] == "send":
                step = ("send", f"evt-{number}-{count}")
            world.begin(step)
            command, environment = world.command(step)
            process = subprocess.Popen(command, env=environment, cwd="/", start_new_session=True,
                                       stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                       stderr=subprocess.STDOUT)
            timer = None
            if chance.random() < 0.3:
                timer = threading.Timer(chance.random() * 0.1, kill_group, [process.pid])
                timer.start()
            output = process.communicate()[0]
            if timer:
                timer.cancel()
                timer.join()
                kill_group(process.pid)  # what the killed one had started
            if process.returncode == 0:
                world.end(step, 0, alone=False)
            elif not timer:
                faults.append(f"{step[0]} ends with {process.returncode}: {output[-300:]}")

    with bench.host(name) as world:
        senders = [("send",)]
        threads = [threading.Thread(target=loop, args=each) for each in enumerate(
            [[("flush all",)], [("flush",)], senders, senders, [("maintain",)], LOOKS, LOOKS])]
        choice.shuffle(threads)
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return faults + aftermath(world, name)


# ---- clock: times in the store as a clock that was set leaves them

def clock_labels(bench, name):
    return [f"{created}:{due}" for created in ("1970", "2099") for due in ("", "1970", "2099")]


def clock_trial(bench, name, label):
    created, due = label.split(":")
    with bench.host(name) as world:
        with contextlib.closing(sqlite3.connect(world.store)) as db, db:
            db.execute("UPDATE vorn_sync_queue SET created_at=?, next_attempt_at=?",
                       [f"{created}-01-01T00:00:00Z", due and f"{due}-01-01T00:00:00Z"])
        moment = time.time() + (1e9 if created == "2099" else -1e9)
        os.utime(world.store, (moment, moment))
        faults = []
        for look in LOOKS:
            faults += world.run(look, alone=False)
        faults += world.run(("flush",), alone=due != "2099") + world.run(("maintain",))
        return faults + aftermath(world, name)


# The agent waits for the next attempt after a failure, longer than a trial may take.
FAILED = [name for name in SCENARIOS if name != "agent"]
CAMPAIGNS = {  # labels, trial, scenarios, trials of the short form for each scenario
    "kill": (kill_labels, kill_trial, list(SCENARIOS), 40),
    "fail": (fail_labels, fail_trial, FAILED, 30),
    "full": (full_labels, full_trial, list(FULL_DISK), 8),
    "power": (power_labels, power_trial, [name for name in SCENARIOS if name != "repeat"], 30),
    "held": (held_labels, held_trial, ["send-new", "send", "flush-spool", "flush-command",
                                       "maintain", "migrate-flush", "look"], 100),
    "storm": (storm_labels, storm_trial, ["send", "flush-spool"], 1),
    "clock": (clock_labels, clock_trial, ["flush-command", "flush-spool"], 6),
}
