#!/usr/bin/env python3
"""An outbox as one would write it by hand: accept FILE N PAD queues N events, deliver FILE hands each to
a program."""
import json, sqlite3, subprocess, sys, time, uuid  # noqa: E401

db = sqlite3.connect(sys.argv[2], isolation_level=None)
db.execute("PRAGMA journal_mode=WAL")
db.execute("PRAGMA synchronous=FULL")
db.execute("CREATE TABLE IF NOT EXISTS outbox(id TEXT PRIMARY KEY, event TEXT, sent INTEGER DEFAULT 0)")
db.execute("CREATE INDEX IF NOT EXISTS waiting ON outbox(sent)")
if sys.argv[1] == "accept":
    for _ in range(int(sys.argv[3])):
        event = {"id": uuid.uuid4().hex, "type": "check_failed", "level": "warning",
                 "created_at": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime()),
                 "check": "disk", "text": "x" * int(sys.argv[4])}
        db.execute("INSERT OR IGNORE INTO outbox(id, event) VALUES(?, ?)",
                   (event["id"], json.dumps(event)))
else:
    while rows := db.execute("SELECT id, event FROM outbox WHERE sent=0 LIMIT 100").fetchall():
        for event_id, event in rows:
            subprocess.run(["cat"], input=event.encode(), stdout=subprocess.DEVNULL, check=True)
            db.execute("UPDATE outbox SET sent=1 WHERE id=?", (event_id,))
