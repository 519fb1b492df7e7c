"""What postgres-ledger costs on a server of its own, as ratios against the least that its jobs can cost. Every
pair is run in turn. Arguments: the directory of the built programs, and the number of rounds.
"""

import os
import statistics
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests/backends"))
import postgres_ledger_test as scene

ROUNDS = int(sys.argv[2]) if len(sys.argv) > 2 else 40
QUICK = ROUNDS < 10  # to see that it works
BATCH = 1000
ROWS = 5_000 if QUICK else 100_000


def cpu_ms(arguments, environment):
    """Milliseconds of the processor of a process."""
    child = os.posix_spawn(arguments[0], arguments, {**scene.PATH, **environment},
                           file_actions=[(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)])
    _, status, usage = os.wait4(child, 0)
    assert status == 0, arguments
    return (usage.ru_utime + usage.ru_stime) * 1e3


def peak_kib(process):
    """The high-water mark of its memory: what a waiting parent is told includes the parent's own."""
    peak = 0
    while process.poll() is None:
        marks = [line.split()[1] for line in Path(f"/proc/{process.pid}/status").read_text().splitlines()
                 if line.startswith("VmHWM:")]
        peak = max(peak, int(marks[0]) if marks else 0)
        time.sleep(0.005)
    process.communicate()
    return peak


def seconds(work, *arguments):
    begin = time.monotonic()
    assert work(*arguments).returncode == 0
    return time.monotonic() - begin


def payload():
    return {"check": "disk", "path": "/", "used_percent": 91.5, "text": "x" * 150}


def fill(spool, count):
    for number in range(count):
        spool.add(f"{number:06}.json", scene.event(f"e{number}", payload=payload()))
    return spool


def measure_backend(server):
    (scene.home / "event.json").write_bytes(scene.event("e", payload=payload()))
    variables = {**server.env(), "ZUNOL_MONITORING_CONFIG": "c", "ZUNOL_VORN_EVENT_FILE": str(scene.home / "event.json"),
                 "ZUNOL_VORN_HISTORY_BLOCK_ID": "ours", "ZUNOL_VORN_WALLET_FILE": str(scene.home / "wallet")}
    pairs = []
    for number in range(ROUNDS):
        ours = cpu_ms([scene.LEDGER], {**variables, "ZUNOL_VORN_EVENT_ID": f"e{number}"})
        bare = cpu_ms([str(scene.PROGRAMS / "bench-bare-libpq"), f"e{number}"], server.env())
        pairs.append((ours, bare))
    print(f"client CPU of one event: {statistics.median(ours for ours, _ in pairs):.1f} ms, bare libpq "
          f"{statistics.median(bare for _, bare in pairs):.1f} ms, ratio {statistics.median(a / b for a, b in pairs):.2f}")


def append_through_chain(server, number):
    place = scene.home / "chain"
    place.mkdir(exist_ok=True)
    (place / "config.yaml").write_text(f'storage: {{local_db: "{place}/agent.db"}}\nvorn: {{history_block_id: "chain", '
                                       f'wallet_file: "{place}/wallet", bridge_command: "{scene.LEDGER}"}}\n')
    (place / "event.json").write_bytes(scene.event(f"e{number}", payload=payload()))
    return scene.run([str(scene.PROGRAMS / "zunol-vorn-append-event")], {
        **server.env(), "ZUNOL_MONITORING_CONFIG": str(place / "config.yaml"),
        "ZUNOL_VORN_EVENT_FILE": str(place / "event.json"), "ZUNOL_VORN_EVENT_ID": f"e{number}"})


def measure_collector(server):
    ratios, rates, peaks = [], [], {}
    for turn in range(1 if QUICK else 3):
        batch = fill(scene.Spool(f"rate{turn}"), 5 * BATCH)
        collected = 5 * BATCH / seconds(batch.collect, server)
        chain = 20 / sum(seconds(append_through_chain, server, 20 * turn + number) for number in range(20))
        rates.append((collected, chain))
        ratios.append(collected / chain)
    for batches in (1, 2 if QUICK else 20):
        spool = fill(scene.Spool(f"memory{batches}"), batches * BATCH)
        peaks[batches] = peak_kib(spool.start(server, "--once"))
    print(f"events a second: collector {statistics.median(a for a, _ in rates):.0f}, a chain of processes for each "
          f"{statistics.median(b for _, b in rates):.0f}, ratio {statistics.median(ratios):.0f}")
    print(f"peak memory of the collector: 1 batch {peaks[1]} KiB, {batches} batches {peaks[batches]} KiB")


def measure_verify(server):
    text = scene.event("x", payload=payload()).decode().strip()
    server.sql(f"SELECT ledger.append('rows', array_agg(g || '-' || i), array_agg('{text}'::bytea)) "
               f"FROM generate_series(1, {ROWS // BATCH}) g, generate_series(1, {BATCH}) i GROUP BY g")
    server.sql("VACUUM ANALYZE ledger.event")
    hashes = "SET max_parallel_workers_per_gather = 0; SELECT count(sha256(event)) FROM ledger.event " \
             "WHERE block_no = (SELECT block_no FROM ledger.block WHERE block_id = 'rows')"
    pairs = [(seconds(scene.run, [scene.LEDGER, "verify", "rows"], server.env("auditor")), seconds(server.psql, hashes))
             for _ in range(7)]
    print(f"{ROWS} rows: verify {statistics.median(a for a, _ in pairs) * 1e3:.0f} ms, their hashes alone "
          f"{statistics.median(b for _, b in pairs) * 1e3:.0f} ms, ratio {statistics.median(a / b for a, b in pairs):.2f}")


with scene.ledger(fsync="on") as primary:
    measure_backend(primary)
    measure_collector(primary)
    measure_verify(primary)
