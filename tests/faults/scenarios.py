"""What is run under faults: for each scenario a host made ready, the steps that the fault meets, and
the steps that must put everything right behind it."""
import contextlib
import sqlite3
from typing import NamedTuple

from world import World, envelope

NOW = "2026-11-19T02:58:20Z"


def queue_events(world, count=2):
    """A store with pending events, each queued by the tool."""
    for index in range(count):
        demand(world, ("send", f"evt-{index}"))


def demand(world, step):
    faults = world.run(step)
    if faults:
        raise RuntimeError(f"{world.root}: {faults}")


def appended(world):
    """An event that is in the ledger, with its marker."""
    demand(world, ("append", "evt-0"))


def marker_lost(world):
    """An event that is in the ledger, without its marker."""
    appended(world)
    for marker in world.markers.glob("*.ok"):
        marker.unlink()


def old_store(world):
    """A store of an older schema, in the rollback journal mode, with two pending events."""
    world.store.parent.mkdir()
    with contextlib.closing(sqlite3.connect(world.store)) as db, db:
        db.executescript("""
            CREATE TABLE incidents(id TEXT PRIMARY KEY, fingerprint TEXT NOT NULL,
              check_type TEXT NOT NULL, check_name TEXT NOT NULL, target TEXT NOT NULL,
              level TEXT NOT NULL, status TEXT NOT NULL, title TEXT NOT NULL, message TEXT NOT NULL,
              current_value TEXT NOT NULL, first_seen_at TEXT NOT NULL, last_seen_at TEXT NOT NULL,
              resolved_at TEXT NOT NULL DEFAULT '', repeat_count INTEGER NOT NULL DEFAULT 0);
            CREATE TABLE check_results(id INTEGER PRIMARY KEY AUTOINCREMENT,
              check_type TEXT NOT NULL, check_name TEXT NOT NULL, target TEXT NOT NULL,
              state TEXT NOT NULL, level TEXT NOT NULL, message TEXT NOT NULL, value REAL NOT NULL,
              created_at TEXT NOT NULL);
            CREATE TABLE notification_queue(id INTEGER PRIMARY KEY AUTOINCREMENT,
              kind TEXT NOT NULL, payload TEXT NOT NULL, status TEXT NOT NULL DEFAULT 'pending',
              created_at TEXT NOT NULL);
            CREATE TABLE vorn_sync_queue(event_id TEXT PRIMARY KEY, payload TEXT NOT NULL,
              status TEXT NOT NULL DEFAULT 'pending', created_at TEXT NOT NULL);""")
        for event_id in ("evt-0", "evt-1"):
            db.execute("INSERT INTO vorn_sync_queue VALUES(?,?,'pending',?)",
                       [event_id, envelope(event_id), NOW])
            world.promised.add(event_id)
        add_incident(world, db, "inc-open", "open")


def add_incident(world, db, incident, status):
    db.execute("INSERT INTO incidents VALUES(?,'f','cpu','load','host','warning',?,'t','m','1',?,?,"
               "'',0)", [incident, status, NOW, NOW])
    if status == "open":
        world.open_incidents.add(incident)


def crowded_store(world):
    """A store over its limit, with pending and delivered events and open incidents in it."""
    queue_events(world, 1)
    demand(world, ("flush",))
    for event_id in ("evt-2", "evt-3"):
        demand(world, ("send", event_id))
    with contextlib.closing(sqlite3.connect(world.store)) as db, db:
        for number in range(1200):
            db.execute("INSERT INTO check_results(check_type, check_name, target, state, level, "
                       "message, value, created_at) VALUES('cpu','load','host','ok','info',?,1,?)",
                       [f"{number} " + "x" * 300, NOW])
        for number in range(10):
            add_incident(world, db, f"inc-{number}", "open" if number % 5 == 0 else "resolved")


class Scenario(NamedTuple):
    transport: str
    prepare: object  # makes the host ready; None leaves it new
    steps: list  # the fault meets these
    recovery: list = []  # these must succeed behind it, before a fresh event is sent


SEND = [("send", "evt-8"), ("send", "evt-9")]
FLUSH = [("flush all",)]
SCENARIOS = {
    "append": Scenario("command", None, [("append", "evt-1")], [("append", "evt-1")]),
    "repeat": Scenario("command", appended, [("append", "evt-0")], [("append", "evt-0")]),
    "no-marker": Scenario("command", marker_lost, [("append", "evt-0")], [("append", "evt-0")]),
    "second": Scenario("command", appended, [("append", "evt-1")], [("append", "evt-1")]),
    "send-new": Scenario("command", None, SEND),
    "send": Scenario("command", queue_events, SEND),
    "flush-spool": Scenario("spool", queue_events, [("flush",)], FLUSH),
    "flush-command": Scenario("command", queue_events, [("flush",)], FLUSH),
    "agent": Scenario("command", None, [("agent",)]),
    "maintain": Scenario("command", crowded_store, [("maintain",)], [("maintain",)] + FLUSH),
    "migrate-flush": Scenario("spool", old_store, [("flush",)], FLUSH),
    "migrate-send": Scenario("command", old_store, [("send", "evt-8")], FLUSH),
    "default": Scenario("command", None, [("default",)], [("default again",)]),
}
# Looks that are held while others write.
HELD_LOOKS = {
    "look": Scenario("command", crowded_store, [("queue list --json",), ("queue stats --json",),
                                                ("doctor --json",)]),
}
# The same work with another part of the host on the small disk.
FULL_DISK = {
    "enqueue": ("send", "state"), "spool": ("flush-spool", "spool"),
    "command": ("flush-command", "tmp"), "append": ("append", "."),
    "marker": ("append", "state"), "ledger": ("append", "ledger"),
    "maintenance": ("maintain", "state"), "default": ("default", "target"),
}


def make_template(name, directory, programs):
    """The host of this scenario, ready, to be cloned for each fault."""
    scenario = (SCENARIOS | HELD_LOOKS)[name]
    world = World(directory / name, programs, scenario.transport)
    world.prepare()
    if scenario.prepare:
        scenario.prepare(world)
    return world
