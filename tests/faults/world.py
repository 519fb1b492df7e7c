"""A host of its own in one directory, with the built programs on it, and the oracle that judges it.

The oracle stands outside of the product: it knows which events a program has answered for with
status 0 and reads files and databases by itself, always on copies, so that a look repairs nothing.
"""
import contextlib
import json
import pathlib
import shutil
import sqlite3
import subprocess

SOURCE = pathlib.Path(__file__).resolve().parents[2]
CONFIG = "ZUNOL_MONITORING_CONFIG"
# A shell that cannot read a script ends with 0, so the backend's word counts, as the example has it.
BACKEND = ("""sh -c 'said=$("$@") || exit; [ "$said" = appended ] || exit 75' - """
           f"{SOURCE}/backends/sqlite-ledger")
DEFAULTS = {}  # the text that `config default` prints, by the folder of the programs


def body(event_id):
    """The text that the event of this id carries: longer than a page, with bytes that need care."""
    return (event_id + " \u00e9 '\"\\ ") * 330


def is_ours(event_id):
    """The agent gives its events ids by itself."""
    return event_id.startswith("evt-")


def envelope(event_id):
    return json.dumps({
        "schema": "zunol.monitoring.event.v1", "event_id": event_id, "agent_id": "agent_local",
        "project_id": "project_local", "server_name": "localhost", "type": "test_event",
        "level": "info", "created_at": "2026-11-19T02:58:20Z", "payload": {"text": body(event_id)}},
        ensure_ascii=False)


class World:
    """`transport` is spool or command; the events in `promised` must never be lost, those in
    `possible` were on their way and may be there or not."""

    def __init__(self, root, programs, transport):
        self.root, self.programs, self.transport = pathlib.Path(root), programs, transport
        self.promised, self.possible, self.open_incidents = set(), set(), set()
        self.target_promised = False
        self.store, self.ledger = self.root / "state/agent.db", self.root / "ledger/ledger.db"
        self.spool, self.target = self.root / "spool", self.root / "target/config.yaml"
        self.markers = self.root / "state/vorn-bridge-ledger"
        self.ctl = str(programs / "zunol-monitoring-ctl")
        self.append_command = str(programs / "zunol-vorn-append-event")

    def prepare(self):
        """An empty host: a configuration and places for the ledger and temporary files."""
        for name in ("ledger", "tmp", "target"):
            (self.root / name).mkdir(parents=True)
        self.configure()

    def configure(self):
        (self.root / "config.yaml").write_text(
            f"storage: {{local_db: {self.store}, max_local_incidents: 5, max_local_bytes: 50000}}\n"
            f"vorn: {{queue_only: false, transport: {self.transport}, history_block_id: block,\n"
            f"  export_dir: {self.spool}, append_command: {self.append_command},\n"
            f"  bridge_command: {json.dumps(f'{BACKEND} {self.ledger}')}}}\n")

    def clone(self, root):
        """The same host in another directory, which this makes."""
        shutil.copytree(self.root, root)
        copy = World(root, self.programs, self.transport)
        copy.promised, copy.possible = set(self.promised), set(self.possible)
        copy.open_incidents = set(self.open_incidents)
        copy.configure()
        return copy

    # ---- what runs on it

    def environment(self, event_id=None):
        variables = {"PATH": "/usr/bin:/bin", "HOME": str(self.root), "LC_ALL": "C.UTF-8",
                     "TMPDIR": str(self.root / "tmp"),
                     CONFIG: str(self.root / "config.yaml")}
        if event_id:
            variables["ZUNOL_VORN_EVENT_FILE"] = str(self.root / f"{event_id}.json")
            variables["ZUNOL_VORN_EVENT_ID"] = event_id
        return variables

    def command(self, step):
        """The command line and the environment of a step: ("send", ID), ("append", ID), ("agent",),
        ("flush",), ("flush all",), ("maintain",), ("default",) or a look as the tool has it."""
        if step[0] == "agent":  # the library in a host of its own
            return [str(self.programs / "agent-loop"), self.environment()[CONFIG]], self.environment()
        if step[0] == "append":
            (self.root / f"{step[1]}.json").write_text(envelope(step[1]) + "\n")
            return [self.append_command], self.environment(step[1])
        arguments = {
            "send": lambda: ["event", "send", "test_event", "--id", step[1], "--data",
                             json.dumps({"text": body(step[1])})],
            "flush": lambda: ["queue", "flush"],
            "flush all": lambda: ["queue", "flush", "--all"],
            "maintain": lambda: ["store", "maintain"],
            "default": lambda: ["config", "default", str(self.target)],
            "default again": lambda: ["config", "default", "--force", str(self.target)],
        }.get(step[0], lambda: step[0].split())()
        return [self.ctl] + arguments, self.environment()

    def begin(self, step):
        """To be called before a step runs."""
        if step[0] in ("send", "append"):
            self.possible.add(step[1])

    def end(self, step, status, alone=True):
        """To be called with the status of a step: what a status 0 claims and does not hold. Where
        the step is not alone on the host, its claim can be over by now."""
        if status != 0:
            return []
        if step[0] in ("send", "append"):
            self.promised.add(step[1])
        if step[0] == "default":
            self.target_promised = True
        if not alone:
            return []
        seen = Seen(self)
        if step[0] == "send" and step[1] not in seen.queue:
            return [f"status 0, but {step[1]} is not in the queue"]
        if step[0] == "append" and step[1] not in seen.delivered:
            return [f"status 0, but {step[1]} is not in the ledger"]
        if step[0] in ("flush", "flush all", "agent") and seen.pending():
            return [f"status 0, but {seen.pending()} are pending"]
        if step[0] == "maintain" and seen.resolved > 5:
            return [f"status 0, but {seen.resolved} resolved incidents are left"]
        return []

    def run(self, step, alone=True, limit=60):
        """Runs a step undisturbed: its faults, where it does not end with status 0."""
        self.begin(step)
        command, environment = self.command(step)
        try:
            done = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, timeout=limit,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd="/")
        except subprocess.TimeoutExpired:
            return [f"{step[0]} hangs"]
        if done.returncode != 0:
            return [f"{step[0]} ends with {done.returncode}: {done.stdout.decode()[-300:]}"]
        return self.end(step, 0, alone)

    # ---- the oracle

    def standing_faults(self):
        """What must hold at every moment, whatever was cut short."""
        seen = Seen(self)
        faults = seen.faults
        for event_id in self.promised - seen.queue.keys() - seen.delivered.keys():
            faults.append(f"LOST: {event_id} is neither queued nor delivered")
        for event_id, (status, _) in seen.queue.items():
            if status == "sent" and event_id not in seen.delivered:
                faults.append(f"LOST: {event_id} is marked sent and not delivered")
        for event_id in (seen.queue.keys() | seen.delivered.keys()) - self.possible - self.promised:
            if is_ours(event_id):
                faults.append(f"{event_id} comes from nowhere")
        for event_id, texts in seen.delivered.items():
            faults += self.event_faults(event_id, texts, seen)
        if self.markers.exists():
            for marker in self.markers.glob("*.ok"):
                if marker.stem not in seen.delivered:
                    faults.append(f"LOST: {marker.stem} has a marker and is not in the ledger")
                if marker.read_text() != marker.stem + "\n":
                    # That it is there is all that counts; its content is for people.
                    faults.append(f"KNOWN: a marker has the content {marker.read_bytes()}")
        if self.target_promised and not self.target.exists():
            faults.append("LOST: the default configuration that was written")
        if self.target.exists() and self.target.read_bytes() != self.defaults():
            faults.append(f"PARTIAL: {self.target.name} has {self.target.stat().st_size} bytes")
        for lost in self.open_incidents - seen.open_incidents:
            faults.append(f"LOST: the open incident {lost}")
        return faults

    def event_faults(self, event_id, texts, seen):
        if len(texts) > 1:
            return [f"{event_id} is delivered {len(texts)} times"]
        try:
            event = json.loads(texts[0])
            same = event["payload"]["text"] == body(event_id) if is_ours(event_id) else True
            if event["event_id"] != event_id or not same:
                return [f"{event_id} is delivered with other content"]
        except (ValueError, KeyError, TypeError):
            return [f"PARTIAL: {event_id} is delivered as {len(texts[0])} bytes"]
        queued = seen.queue.get(event_id)
        if queued and texts[0] != queued[1].encode() + b"\n":
            return [f"{event_id} is delivered with other bytes than the queue has"]
        file = self.root / f"{event_id}.json"
        if not queued and file.exists() and texts[0] != file.read_bytes():
            return [f"{event_id} is in the ledger with other bytes than its file has"]
        return []

    def recovery_faults(self, steps):
        """Runs these steps, then sends a fresh event along the same road; all must succeed, and what
        was promised must have arrived."""
        faults = []
        for step in steps:
            faults += self.run(step)
        faults += self.run(("send", "evt-fresh")) + self.run(("flush all",))
        seen = Seen(self)
        if seen.pending():
            faults.append(f"still pending: {seen.pending()}")
        for event_id in self.promised - seen.delivered.keys():
            faults.append(f"LOST: {event_id} is not delivered")
        return ["after recovery: " + fault for fault in faults + self.standing_faults()]

    def defaults(self):
        if self.programs not in DEFAULTS:
            DEFAULTS[self.programs] = subprocess.run(
                [self.ctl, "config", "default"], env=self.environment(), check=True,
                stdout=subprocess.PIPE).stdout
        return DEFAULTS[self.programs]


class Seen:
    """What a look at the host's files finds. `delivered` has for each id all that arrived."""

    def __init__(self, world):
        self.faults, self.queue, self.delivered = [], {}, {}
        self.open_incidents, self.resolved = set(), 0
        with self._copy(world, world.store) as db:
            if self._has(db, "vorn_sync_queue"):
                self.queue = {row[0]: row[1:] for row in db.execute(
                    "SELECT event_id, status, payload FROM vorn_sync_queue")}
            if self._has(db, "incidents"):
                rows = db.execute("SELECT id, status FROM incidents").fetchall()
                self.open_incidents = {row[0] for row in rows if row[1] == "open"}
                self.resolved = len(rows) - len(self.open_incidents)
        if world.transport == "command":
            with self._copy(world, world.ledger) as db:
                if self._has(db, "ledger"):
                    for event_id, event in db.execute(
                            "SELECT event_id, CAST(event AS BLOB) FROM ledger ORDER BY sequence"):
                        self.delivered.setdefault(event_id, []).append(event)
        elif world.spool.exists():
            for file in sorted(world.spool.glob("*.json")):
                event_id = file.stem.rpartition("_")[2]
                self.delivered.setdefault(event_id, []).append(file.read_bytes())

    @contextlib.contextmanager
    def _copy(self, world, file):
        """A connection to a copy of the database, or none; what is wrong with it is a fault."""
        if not file.exists():
            yield None
            return
        scratch = world.root.parent / (world.root.name + ".seen")
        shutil.rmtree(scratch, ignore_errors=True)
        scratch.mkdir()
        for suffix in ("", "-wal", "-journal"):
            with contextlib.suppress(FileNotFoundError):
                shutil.copyfile(f"{file}{suffix}", f"{scratch}/{file.name}{suffix}")
        try:
            with contextlib.closing(sqlite3.connect(scratch / file.name)) as db:
                verdict = db.execute("PRAGMA integrity_check").fetchone()[0]
                if verdict != "ok":
                    self.faults.append(f"DAMAGED: {file.name}: {verdict}")
                yield db
        except sqlite3.DatabaseError as error:
            self.faults.append(f"DAMAGED: {file.name}: {error}")
        finally:
            shutil.rmtree(scratch)

    @staticmethod
    def _has(db, table):
        return db and db.execute("SELECT 1 FROM sqlite_schema WHERE name=?", [table]).fetchone()

    def pending(self):
        return sorted(key for key, row in self.queue.items() if row[0] == "pending")
