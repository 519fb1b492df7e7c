"""Tries postgres-ledger on servers of its own, a primary and a synchronous standby on UNIX sockets in a
temporary directory, started as a user who is not root. Argument: the directory of the built programs.
Ends with status 77 where PostgreSQL 15 or later is not installed. ZUNOL_KILLS sets how often the
collector is killed.
"""

import contextlib
import glob
import json
import os
import random
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

PROGRAMS = Path(sys.argv[1] if len(sys.argv) > 1 else "build/bin").resolve()
LEDGER = str(PROGRAMS / "postgres-ledger")
CHECK_BACKEND = Path(__file__).resolve().parents[2] / "backends/check-backend"
KILLS = int(os.environ.get("ZUNOL_KILLS", "6"))
POSTGRES = max(glob.glob("/usr/lib/postgresql/*/bin/initdb"), default="", key=lambda path: int(path.split("/")[4]))
# The server's own psql: that of the system is a script, which starts slowly.
PATH = {"PATH": f"{os.path.dirname(POSTGRES)}:/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
WITHOUT_ROOT = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"] if os.getuid() == 0 else []
home = Path()
primary = None


def run(arguments, environment=(), **options):
    return subprocess.run(arguments, env={**PATH, **dict(environment)}, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, **options)


def eventually(what, condition):
    for _ in range(600):
        if condition():
            return
        time.sleep(0.05)
    raise AssertionError("in vain: " + what)


class Server:
    def __init__(self, name):
        self.place = home / name
        self.data = self.place / "data"
        self.place.mkdir()
        self.place.chmod(0o777)
        self.settings = {"fsync": "off", "listen_addresses": "", "unix_socket_directories": self.place}

    def tool(self, name, *arguments):
        done = run([*WITHOUT_ROOT, str(Path(POSTGRES).with_name(name)), *map(str, arguments)], cwd=home)
        if done.returncode != 0:
            raise AssertionError(f"{name}: {done.stdout}{done.stderr}")

    def create(self):
        self.tool("initdb", "-D", self.data, "-A", "trust", "-U", "root", "-E", "UTF8", "--locale=C", "-N")
        self.start()

    def copy(self, primary):
        self.tool("pg_basebackup", "-D", self.data, "-h", primary.place, "-U", "root", "-R", "-c", "fast", "-N")
        self.start()

    def start(self, **settings):
        self.settings.update(settings)
        self.tool("pg_ctl", "-D", self.data, "-w", "-l", self.place / "log", "-o", self.options(), "start")

    def starts(self):
        """Whether it starts: not while processes of one that was killed are left."""
        with contextlib.suppress(AssertionError):
            self.start()
            return True

    def options(self):
        return " ".join(f"-c {key}='{value}'" for key, value in self.settings.items())

    def stop(self, mode="fast"):
        if (self.data / "postmaster.pid").exists():
            self.tool("pg_ctl", "-D", self.data, "-w", "-m", mode, "stop")

    def signal(self, number):
        os.kill(int((self.data / "postmaster.pid").read_text().split()[0]), number)

    def env(self, user="host_a", **more):
        return {"PGHOST": str(self.place), "PGUSER": user, "PGDATABASE": "ledger", **more}

    def psql(self, statement, user="root", **more):
        return run(["psql", "-XAtq", "-v", "ON_ERROR_STOP=1", "-c", statement], self.env(user, **more))

    def sql(self, statement):
        done = self.psql(statement)
        if done.returncode != 0:
            raise AssertionError(f"{statement}: {done.stderr}")
        return done.stdout.decode().strip()

    def hold(self, block):
        """A session that holds the lock of the block until it is closed."""
        session = subprocess.Popen(["psql", "-XAtq"], env={**PATH, **self.env("root")}, text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        session.stdin.write(f"SELECT ledger.append('{block}', '{{}}', '{{}}') IS NULL;\nBEGIN;\n"
                            f"SELECT 'held' FROM ledger.block WHERE block_id = '{block}' FOR UPDATE;\n")
        session.stdin.flush()
        while session.stdout.readline() != "held\n":
            pass
        return session

    def count_waiting(self):
        return int(self.sql("SELECT count(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'"))


@contextlib.contextmanager
def slow_line(server):
    """The environment of a client whose line to the server carries 320 kB a second."""
    name, listener = ".s.PGSQL.5432", socket.socket(socket.AF_UNIX)
    place = Path(tempfile.mkdtemp(dir=home))
    listener.bind(str(place / name))
    listener.listen()

    def carry(source, target, pause):
        with contextlib.suppress(OSError):
            while chunk := source.recv(16_000):
                target.sendall(chunk)
                time.sleep(pause)
            target.shutdown(socket.SHUT_WR)

    def accept():
        with contextlib.suppress(OSError):
            while True:
                client, far = listener.accept()[0], socket.socket(socket.AF_UNIX)
                far.connect(str(server.place / name))
                for way in ((client, far, 0.05), (far, client, 0)):
                    threading.Thread(target=carry, args=way, daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    try:
        yield server.env(PGHOST=str(place))
    finally:
        listener.close()


def event(event_id, **more):
    return json.dumps({"schema": "zunol.monitoring.event.v1", "event_id": event_id, "agent_id": "a",
                       "project_id": "p", "server_name": "s", "type": "test_event", "level": "info",
                       "created_at": "2026-11-19T02:58:20Z", "payload": {}, **more}).encode() + b"\n"


class Spool:
    def __init__(self, block):
        self.path = Path(tempfile.mkdtemp(dir=home)) / block
        self.path.mkdir()

    def fill(self, ids):
        for event_id in ids:
            self.add(event_id + ".json", event(event_id))
        return self

    def add(self, name, content):
        (self.path / (name + ".tmp.x")).write_bytes(content)
        (self.path / (name + ".tmp.x")).rename(self.path / name)

    def left(self):
        return sorted(entry.name for entry in self.path.iterdir() if entry.name.endswith(".json"))

    def start(self, server, *options, **variables):
        return subprocess.Popen([LEDGER, "collect", str(self.path), *options], text=True, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, env={**PATH, **server.env(), **variables})

    def collect(self, server, *options):
        return run([LEDGER, "collect", str(self.path), "--once", *options], server.env())


def append(server, block="b", event_id="e", content=None, arguments=(), **variables):
    with tempfile.NamedTemporaryFile(dir=home) as file:
        file.write(event(event_id) if content is None else content)
        file.flush()
        return run([LEDGER, *arguments], {
            **server.env(), "ZUNOL_MONITORING_CONFIG": "c", "ZUNOL_VORN_EVENT_FILE": file.name,
            "ZUNOL_VORN_EVENT_ID": event_id, "ZUNOL_VORN_HISTORY_BLOCK_ID": block,
            "ZUNOL_VORN_WALLET_FILE": str(home / "wallet"), **variables})


class Case(unittest.TestCase):
    """Each class of them has a server of its own."""

    @classmethod
    def setUpClass(cls):
        cls.enterClassContext(ledger())

    def ends(self, done, status, part=""):
        """It ended so, with one line on standard error if it failed."""
        said = done.stderr.decode(errors="replace")
        self.assertEqual(done.returncode, status, said)
        self.assertEqual(said.count("\n"), int(status != 0), said)
        self.assertIn(part, said)

    def verified(self, server, *blocks):
        done = run([LEDGER, "verify", *blocks], server.env("auditor"))
        self.assertEqual(done.returncode, 0, done.stdout)

    def once(self, server, block, ids):
        rows = server.sql(f"SELECT event_id FROM ledger.event JOIN ledger.block USING (block_no) WHERE block_id = '{block}'")
        self.assertEqual(sorted(rows.split()), sorted(ids))
        self.verified(server, block)


class Contract(Case):
    def holds_the_contract(self, only="", **service):
        """check-backend finds no fault; the server goes away and comes back on the way."""
        settings = {"user": "host_a", "dbname": "ledger", "port": 5432, **service}
        (home / "services").write_text("[ledger]\n" + "".join(f"{key}={value}\n" for key, value in settings.items()))
        (home / "read.sql").write_text(
            "\\getenv block ZUNOL_VORN_HISTORY_BLOCK_ID\n\\getenv id ZUNOL_VORN_EVENT_ID\n"
            "SELECT encode(event, 'hex') FROM ledger.event JOIN ledger.block USING (block_no) "
            "WHERE block_id = :'block' AND event_id = :'id';\n")
        control = " ".join([*WITHOUT_ROOT, str(Path(POSTGRES).with_name("pg_ctl")), "-D", str(primary.data), "-w -l"])
        done = run(["python3", str(CHECK_BACKEND), "--only", only, "--read",
                    f'PGPASSFILE= psql -XAtq "host={primary.place} port={settings["port"]} user=root dbname=ledger" -f {home}/read.sql |'
                    " perl -ne 'chomp; print pack \"H*\", $_'",
                    "--away", f"{control} {primary.place}/log -m immediate stop >{home}/control 2>&1",
                    "--back", f"{control} {primary.place}/log -o \"{primary.options()}\" start >{home}/control 2>&1",
                    f"PGSERVICEFILE={home}/services {LEDGER} ledger"], primary.env())
        self.assertEqual((done.returncode, done.stderr.decode()), (0, ""), done.stdout.decode())

    def test_the_contract_of_backends_holds(self):
        self.holds_the_contract(host=primary.place)

    def test_over_tls_with_the_wallet_as_password_file(self):
        for name in ("server", "other"):
            run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=localhost",
                 "-addext", "subjectAltName=DNS:localhost", "-keyout", f"{home}/{name}.key", "-out", f"{home}/{name}.crt"])
        for name in ("server.key", "server.crt"):
            (primary.place / name).write_bytes((home / name).read_bytes())
            (primary.place / name).chmod(0o600)
            if WITHOUT_ROOT:
                run(["chown", "nobody", str(primary.place / name)])
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = str(free.getsockname()[1])
        (primary.data / "pg_hba.conf").write_text("local all,replication all trust\nhostssl all all all scram-sha-256\n")
        (home / "wallet").touch(0o600)
        (home / "wallet").write_text("localhost:*:*:host_a:it's a secret\n")
        primary.stop()
        primary.start(ssl="on", ssl_cert_file=primary.place / "server.crt", ssl_key_file=primary.place / "server.key",
                      listen_addresses="localhost", port=port)
        tls = {"PGHOST": "localhost", "PGPORT": port, "PGSSLMODE": "verify-full", "PGSSLROOTCERT": f"{home}/server.crt"}
        try:
            self.ends(append(primary, "tls", **tls), 0)
            self.holds_the_contract("repeat|unset|at once|engine|never", host="localhost", port=port,
                                    sslmode="verify-full", sslrootcert=home / "server.crt", passfile=home / "wallet")
            self.ends(append(primary, "tls", **{**tls, "PGSSLROOTCERT": f"{home}/other.crt"}), 75, "certificate verify failed")
            (home / "wallet").write_text("localhost:*:*:host_a:another\n")
            self.ends(append(primary, "tls", **tls), 75, "authentication failed")
        finally:
            primary.stop()
            primary.start(ssl="off", port=5432, listen_addresses="")


class Backend(Case):
    def test_bytes_are_kept_and_a_document_where_there_can_be_one(self):
        deep = b"[" * 20000 + b"]" * 20000
        for name, content, document in [
                ("plain", event("x"), True), ("line feeds", b"{}\r\n\n\n", True), ("quotes", b'{"a": "\'\\"$(x)\xc3\xa9"}', True),
                ("zero tail", event("x") + b"\0", False), ("zero character", event("x", t="\0"), False),
                ("deep", b'{"a": ' + deep + b"}", False), ("no utf-8", b"\xff\xfe", False),
                ("long", event("x", t="y" * 10_000_000), True)]:
            with self.subTest(name):
                for _ in range(2):
                    self.ends(append(primary, "bytes", name, content), 0)
                self.ends(append(primary, "bytes", name, content + b" "), 65, "with another event")
                row = primary.sql(f"SELECT document IS NOT NULL, event FROM ledger.event WHERE event_id = '{name}'")
                self.assertEqual(row, f"{'t' if document else 'f'}|\\x{content.hex()}")
        self.ends(append(primary, "other", "plain"), 0)
        self.verified(primary, "bytes", "other")

    def test_failures_have_their_statuses_and_one_line(self):
        os.mkfifo(home / "fifo")
        (home / "empty").touch()
        (home / "loose").touch(mode=0o644)
        for name in ("MONITORING_CONFIG", "VORN_EVENT_FILE", "VORN_EVENT_ID", "VORN_HISTORY_BLOCK_ID", "VORN_WALLET_FILE"):
            self.ends(append(primary, **{"ZUNOL_" + name: ""}), 64, f"ZUNOL_{name} is not set")
        for file, part in [("missing\nfile", "No such file"), ("fifo", "no regular file"), ("", "no regular file"), ("empty", "empty")]:
            self.ends(append(primary, ZUNOL_VORN_EVENT_FILE=str(home / file)), 66, part)
        self.ends(append(primary, arguments=["a", "b"]), 64, "usage")
        with open("/dev/full", "w") as full:
            self.assertEqual(subprocess.run([LEDGER, "schema"], env=PATH, stdout=full, stderr=subprocess.DEVNULL).returncode, 75)
        self.ends(append(primary, arguments=["collect", "--no"]), 64)
        self.ends(append(primary, arguments=["no-service"]), 75, "no-service")
        self.ends(append(primary, PGHOST=str(home)), 75, "No such file")
        self.ends(append(primary, PGUSER="nobody"), 75, "nobody")
        primary.sql("UPDATE pg_database SET datcollversion = 'x' WHERE datname = 'ledger'")
        self.ends(append(primary, "warned"), 0)  # each connection brings a warning
        primary.sql("UPDATE pg_database SET datcollversion = NULL WHERE datname = 'ledger'")
        self.ends(append(primary, PGUSER="stranger"), 75, "permission denied")
        self.ends(append(primary, PGDATABASE="postgres"), 75, "ledger")
        self.ends(append(primary, ZUNOL_VORN_WALLET_FILE=str(home / "loose")), 75, "must have mode 0600")
        self.ends(append(primary, event_id="x" * 1025), 65, "1024 bytes")
        self.ends(append(primary, block="x" * 1025), 65, "1024 bytes")
        self.ends(append(primary, event_id=b"\xff".decode(errors="surrogateescape")), 65, "UTF8")

    def test_a_server_that_does_not_answer_ends_in_time(self):
        primary.signal(signal.SIGSTOP)
        try:
            self.ends(append(primary, PGCONNECT_TIMEOUT="2"), 75, "timeout expired")
            self.ends(append(primary, ZUNOL_LEDGER_TIME_LIMIT="1"), 75, "within the time limit")
        finally:
            primary.signal(signal.SIGCONT)
        session = primary.hold("held")
        self.ends(append(primary, "held", ZUNOL_LEDGER_TIME_LIMIT="1"), 75, "within")
        session.communicate()
        self.ends(append(primary, "held"), 0)

    def test_no_value_is_ever_a_command(self):
        values = ["'", "'); DROP TABLE ledger.event; --", "$(touch canary)", "a\n\\! touch canary\nb", "%s\\n\\", "{a,b}",
                  "\"", "NULL", "", "\U0001f600", "x" * 1024]
        for value in filter(None, values):
            self.ends(append(primary, value, value), 0)
            self.ends(append(primary, "hostile", value), 0)
        rows = primary.sql("SELECT json_agg(event_id ORDER BY sequence) FROM ledger.event WHERE block_no = "
                           "(SELECT block_no FROM ledger.block WHERE block_id = 'hostile')")
        self.assertEqual(json.loads(rows), list(filter(None, values)))
        self.verified(primary, *filter(None, values))

    def test_rights_end_at_the_function(self):
        append(primary)
        for user, statements in {
                "host_a": ["SELECT FROM ledger.event", "INSERT INTO ledger.block(block_id, head) VALUES ('', '')",
                           "UPDATE ledger.block SET sequence = 0", "DELETE FROM ledger.event", "SELECT ledger.link('', 1, '', '')"],
                "auditor": ["UPDATE ledger.event SET event = ''", "DELETE FROM ledger.event", "TRUNCATE ledger.event",
                            "SELECT ledger.append('', '{}', '{}')"]}.items():
            for statement in statements:
                self.assertIn(b"permission denied", primary.psql(statement, user).stderr, statement)
        for statement in ("UPDATE ledger.event SET event = ''", "DELETE FROM ledger.event", "TRUNCATE ledger.event",
                          "DELETE FROM ledger.block", "UPDATE ledger.block SET block_id = 'x'",
                          "SET session_replication_role = replica; DELETE FROM ledger.event"):
            self.assertIn(b"the ledger is append-only", primary.psql(statement).stderr, statement)
        # Nor can a caller change what the function's words mean, or how firmly it commits.
        self.assertEqual(primary.psql(
            "CREATE TEMP TABLE pg_roles(a int); SET synchronous_commit = off; BEGIN;"
            "SELECT verdicts FROM ledger.append('r', '{i,i,i}', ARRAY['x', 'x', 'y']::bytea[]); SHOW synchronous_commit",
            "host_a").stdout, b"{added,known,conflict}\non\n")
        self.assertIn(b"null value", primary.psql("SELECT ledger.append('r', '{i,j}', '{x}')").stderr)
        self.assertEqual(run([LEDGER, "schema", "--install"], primary.env("root")).returncode, 0)
        self.ends(append(primary), 0)

    def test_many_hosts_survive_a_server_that_is_killed(self):
        def host(number):
            place = home / f"host{number}"
            place.mkdir()
            (place / "config.yaml").write_text(
                f'storage: {{local_db: "{place}/agent.db"}}\nvorn: {{history_block_id: "many{number % 2}",'
                f' wallet_file: "{place}/wallet", bridge_command: "{LEDGER}"}}\n')
            failures = 0
            for event_id in (f"{number}-{turn}" for turn in range(4)):
                (place / "event.json").write_bytes(event(event_id))
                while (done := run([str(PROGRAMS / "zunol-vorn-append-event")], {
                        **primary.env(), "ZUNOL_MONITORING_CONFIG": str(place / "config.yaml"),
                        "ZUNOL_VORN_EVENT_FILE": str(place / "event.json"), "ZUNOL_VORN_EVENT_ID": event_id})).returncode != 0:
                    self.ends(done, 75)
                    failures += 1
                    time.sleep(0.1)
            return failures

        with ThreadPoolExecutor(20) as hosts:
            failures = hosts.map(host, range(20))
            eventually("an event arrives", lambda: primary.sql("SELECT count(*) FROM ledger.block WHERE block_id = 'many0'") == "1")
            primary.signal(signal.SIGKILL)
            eventually("it starts again", primary.starts)
            self.assertGreater(sum(failures), 0)
        for half in (0, 1):
            self.once(primary, f"many{half}", [f"{number}-{turn}" for number in range(half, 20, 2) for turn in range(4)])

    def test_serializable_by_default_is_no_obstacle(self):
        primary.sql("ALTER ROLE host_a SET default_transaction_isolation = serializable")
        try:
            with ThreadPoolExecutor(8) as hosts:
                for done in hosts.map(lambda number: append(primary, "one", str(number)), range(40)):
                    self.ends(done, 0)
            self.once(primary, "one", map(str, range(40)))
        finally:
            primary.sql("ALTER ROLE host_a RESET ALL")


class Collector(Case):
    def test_killed_at_any_moment_each_file_is_in_once(self):
        ids = [f"k{number:03}" for number in range(200)]
        full = Spool("whole").fill(ids)
        begin = time.monotonic()
        self.ends(full.collect(primary, "--batch", "20"), 0)
        whole_run = time.monotonic() - begin
        for turn in range(KILLS):
            spool = Spool(f"killed{turn}").fill(ids)
            collector = spool.start(primary, "--once", "--batch", "20")
            time.sleep(whole_run * random.random())
            collector.kill()
            collector.communicate()
            self.ends(spool.collect(primary), 0)
            self.assertEqual(spool.left(), [])
            self.once(primary, spool.path.name, ids)

    def test_a_failure_before_the_commit_and_a_second_collector_touch_nothing(self):
        spool = Spool("before").fill(["x", "y"])
        self.ends(run([LEDGER, "collect", str(spool.path), "--once"], {"PGHOST": str(home)}), 75)
        self.ends(spool.collect(primary, "--block", b"\xff".decode(errors="surrogateescape")), 75, "no block can have")
        session = primary.hold("before")
        collector = spool.start(primary, "--once")
        eventually("the collector waits", lambda: primary.count_waiting() == 1)
        self.ends(spool.collect(primary), 75, "is being collected already")
        self.assertEqual(spool.left(), ["x.json", "y.json"])
        # One is replaced meanwhile, one rewritten: neither may go.
        spool.add("x.json", event("z"))
        (spool.path / "y.json").write_bytes(event("other"))
        session.communicate()
        collector.communicate()
        self.assertEqual(len(spool.left()), 2)
        self.ends(spool.collect(primary), 0)
        self.once(primary, "before", ["other", "x", "y", "z"])

    def test_a_batch_that_the_line_does_not_carry_in_time_goes_in_halves(self):
        spool, names = Spool("slow"), [f"e{number}" for number in range(8)]
        for name in names:
            spool.add(name + ".json", event(name, payload={"text": "x" * 100_000}))
        with slow_line(primary) as environment:
            done = run([LEDGER, "collect", str(spool.path), "--once"], {**environment, "ZUNOL_LEDGER_TIME_LIMIT": "2"})
        self.ends(done, 0)
        self.assertGreater(done.stdout.count(b"\n"), 1)
        self.assertEqual(spool.left(), [])
        self.once(primary, "slow", names)

    def test_a_file_that_the_line_does_not_carry_in_time_stops_no_other(self):
        spool = Spool("large").fill(["b", "c"])
        spool.add("a.json", event("a", payload={"text": "x" * 2_000_000}))
        with slow_line(primary) as environment:
            collector = spool.start(primary, "--period", "1", **environment, ZUNOL_LEDGER_TIME_LIMIT="1")
            eventually("the others go", lambda: spool.left() == ["a.json"])
            collector.terminate()
            self.assertIn("no answer of the server within 1 s", collector.communicate()[1])
        self.once(primary, "large", ["b", "c"])

    def test_what_a_crash_has_left_half_removed_comes_back(self):
        spool = Spool("crash").fill(["x"])
        spool.add(".taken", event("y"))
        session = primary.hold("crash")
        collector = spool.start(primary, "--once", "--batch", "1")
        eventually("the collector waits", lambda: primary.count_waiting() == 1)
        spool.add(".taken", event("z"))  # nor is one that appears on the way overwritten
        collector.terminate()
        session.communicate()
        self.assertEqual(collector.communicate()[1].count("told to end before all"), 1)
        self.assertEqual((collector.returncode, len(spool.left())), (75, 2))
        self.ends(spool.collect(primary), 0)
        self.once(primary, "crash", ["x", "y", "z"])

    def test_bad_files_are_set_aside_with_their_reason(self):
        spool = Spool("bad").fill(["conflict", "good", "good2"])
        append(primary, "bad", "conflict", b"{}")
        bad = {"conflict": "with another event", "cut": "parse error", "dir": "no regular file", "empty": "empty",
               "fifo": "no regular file", "link": "a symbolic link", "long": "1024 bytes", "schema": "schema", "zero": "0x00"}
        spool.add("cut.json", event("cut")[:-9])
        spool.add("deep.json", event("deep", payload={"t": "\0"})[:-2] + b', "a": ' + b"[" * 20000 + b"]" * 20000 + b"}\0")
        (spool.path / "dir.json").mkdir()
        spool.add("empty.json", b"")
        os.mkfifo(spool.path / "fifo.json")
        (spool.path / "link.json").symlink_to("/etc/passwd")
        spool.add("long.json", event("x" * 1025))
        spool.add("schema.json", event("schema", schema="x"))
        spool.add("zero.json", event("a\0b"))
        spool.add("part.json.tmp.vorn_1", b"{")
        spool.add(".hidden.json", b"{")
        done = spool.collect(primary)
        self.assertEqual(done.returncode, 65, done.stderr)
        self.assertEqual(done.stderr.count(b"is set aside: "), len(bad))
        self.assertIn(b" 7 set aside in ", done.stdout)  # those that no server has seen
        self.assertEqual(spool.left(), [".hidden.json"])
        rejected = spool.path / "rejected"
        self.assertEqual(sorted(os.listdir(rejected)), sorted(name + end for name in bad for end in (".json", ".json.reason")))
        for name, part in bad.items():
            self.assertIn(part, (rejected / (name + ".json.reason")).read_text())
        self.once(primary, "bad", ["conflict", "deep", "good", "good2"])
        # Another one of the same name overwrites nothing, and a link leads nowhere.
        spool.add("cut.json", b"{")
        self.assertEqual(spool.collect(primary).returncode, 65)
        self.assertEqual(len(os.listdir(rejected)), 2 * len(bad) + 2)
        rejected.rename(spool.path / "elsewhere")
        rejected.symlink_to("elsewhere")
        spool.add("cut.json", b"{")
        self.ends(spool.collect(primary), 75, "rejected")
        self.assertIn("cut.json", spool.left())

    def test_it_comes_back_until_it_is_told_to_end(self):
        self.ends(run([LEDGER, "collect", str(Spool("empty").path), "--once"], {"PGHOST": str(home)}), 0)
        parent = Spool("parent")
        for block in ("h1", "h2", "rejected"):
            (parent.path / block).mkdir()
        collector = parent.start(primary, "--each", "--period", "1")
        for block in ("h1", "h2"):
            (parent.path / block / "e.json").write_bytes(event(block))
            eventually("it is collected", lambda: not (parent.path / block / "e.json").exists())
        collector.terminate()
        said = collector.communicate()[0].splitlines()
        self.assertEqual(collector.returncode, 0)
        heads = [json.loads(line[line.index("{"):]) for line in said]
        self.assertEqual([(head["block"], head["sequence"]) for head in heads], [("h1", 1), ("h2", 1)])
        self.assertIn(": 1 added, 0 known, 0 set aside in ", said[0])
        # Files that come to another directory of its name would not be seen.
        collector = parent.start(primary, "--each", "--period", "1")
        (parent.path / "h1/e.json").write_bytes(event("more"))
        eventually("it is collected", lambda: not (parent.path / "h1/e.json").exists())
        parent.path.rename(parent.path.with_name("old"))
        parent.path.mkdir()
        self.assertIn("is another directory by now\n", collector.communicate(timeout=30)[1])
        self.assertEqual(collector.returncode, 75)


class Verify(Case):
    def test_each_kind_of_change_is_told(self):
        odd = "odd \"name\"\n'"
        faults = {
            "changed": ("UPDATE ledger.event SET event = event || 'x' WHERE sequence = 3 AND {}", "row 3 is changed"),
            "renamed": ("UPDATE ledger.event SET event_id = 'x' WHERE sequence = 1 AND {}", "row 1 is changed"),
            "gap": ("DELETE FROM ledger.event WHERE sequence IN (3, 4) AND {}", "missing before row 5"),
            "first": ("DELETE FROM ledger.event WHERE sequence = 1 AND {}", "missing before row 2"),
            "cut": ("DELETE FROM ledger.event WHERE sequence = 6 AND {}", "the end is cut: row 5 of 6"),
            "head": ("UPDATE ledger.block SET head = 'x' WHERE {}", "the head is not that of row 6"),
            odd: ("DELETE FROM ledger.event WHERE sequence = 6 AND {0}; UPDATE ledger.block b SET sequence = 5, head = e.hash FROM "
                  "ledger.event e WHERE e.block_no = b.block_no AND e.sequence = 5 AND b.{0}", None),
            "gone": ("DELETE FROM ledger.event WHERE {0}; DELETE FROM ledger.block WHERE {0}", None),
            "orphan": ("DELETE FROM ledger.block WHERE {}", "events without a block"),
            "good": ("SELECT", None)}
        for block in faults:
            primary.sql("SELECT ledger.append($$%s$$, array_agg('e' || i), array_agg(('e' || i)::bytea)) FROM generate_series(1, 6) i" % block)
        anchors = run([LEDGER, "anchor"], primary.env("auditor")).stdout
        (home / "anchors").write_bytes(b"".join(line + b"\n" for line in anchors.splitlines() if json.loads(line)["block"] in faults))
        self.assertEqual(run([LEDGER, "verify", "--anchor", str(home / "anchors")], primary.env("auditor")).returncode, 0)
        tables = ("ledger.event", "ledger.block")
        for block, (statement, _) in faults.items():
            number = primary.sql("SELECT block_no FROM ledger.block WHERE block_id = $$%s$$" % block)
            primary.sql("".join(f"ALTER TABLE {table} DISABLE TRIGGER USER;" for table in tables) +
                        statement.format("block_no = " + number) + ";" +
                        "".join(f"ALTER TABLE {table} ENABLE TRIGGER USER;" for table in tables))
        # Nor does code that is kept in the ledger, or found before the server's own, have a say.
        primary.sql("CREATE OR REPLACE FUNCTION ledger.link(previous bytea, sequence bigint, event_id text, event bytea) "
                    "RETURNS bytea LANGUAGE sql AS 'SELECT hash FROM ledger.event e WHERE (e.event_id, e.event) = ($3, $4) LIMIT 1';"
                    "GRANT EXECUTE ON FUNCTION ledger.link TO ledger_reader; CREATE SCHEMA mine; GRANT USAGE ON SCHEMA mine TO auditor;"
                    "CREATE FUNCTION mine.sha256(bytea) RETURNS bytea LANGUAGE sql AS $$SELECT ''::bytea$$;"
                    "ALTER ROLE auditor SET search_path = mine, pg_catalog")
        told = {}
        for options in ([], ["--anchor", str(home / "anchors")]):
            done = run([LEDGER, "verify", *options], primary.env("auditor"))
            self.assertEqual(done.returncode, 1)
            told[len(options)] = done.stdout.decode()
        self.assertEqual(run([LEDGER, "schema", "--install"], primary.env("root")).returncode, 0)
        primary.sql("ALTER ROLE auditor RESET ALL")
        for block, (_, part) in faults.items():
            if part:
                self.assertIn("block_no " if block == "orphan" else f"{block}: ", told[0])
                self.assertIn(part, told[0])
        self.assertEqual(told[0].count("\n"), 8)  # and nothing else
        self.assertIn("odd \"name\" ': row 6, which is anchored, is missing", told[2])
        self.assertIn("gone: row 6, which is anchored, is missing", told[2])
        self.assertIn("cut: row 6, which is anchored, is missing", told[2])
        self.assertNotIn("good: ", told[2])
        self.verified(primary, "good")
        self.ends(run([LEDGER, "verify", "--anchor", LEDGER], primary.env("auditor")), 64, "no anchor")
        append(primary, "later")
        self.assertEqual(run([LEDGER, "verify", "--anchor", str(home / "anchors"), "later"], primary.env("auditor")).stdout,
                         b"later: no anchor for this block\n1 event of 1 block verified, with faults\n")
        # The end comes again with other events.
        append(primary, odd, "new")
        self.assertIn(b"row 6 is not the one that is anchored",
                      run([LEDGER, "verify", "--anchor", str(home / "anchors"), odd], primary.env("auditor")).stdout)


class Replication(Case):
    def test_status_0_only_with_the_standby(self):
        standby = Server("standby")
        standby.copy(primary)
        try:
            self.try_standby(standby)
        finally:
            standby.stop("immediate")

    def try_standby(self, standby):
        primary.sql("ALTER SYSTEM SET synchronous_standby_names = '*'")
        primary.sql("SELECT pg_reload_conf()")
        eventually("the standby is synchronous", lambda: primary.sql("SELECT sync_state FROM pg_stat_replication") == "sync")
        self.ends(append(primary, "rep", "first"), 0)
        standby.stop()

        waiting = "SELECT pid FROM pg_stat_activity WHERE wait_event = 'SyncRep'"

        def cancel(kind):
            eventually(kind + " waits", lambda: primary.sql(waiting))
            primary.sql(f"SELECT pg_cancel_backend(pid) FROM ({waiting}) w")
            eventually(kind + " is cancelled", lambda: not primary.sql(waiting))

        # The wait is cancelled: the server warns, and tells of success all the same.
        with ThreadPoolExecutor(1) as other:
            cancelled = other.submit(append, primary, "rep", "cancelled")
            cancel("the commit")
            self.ends(cancelled.result(), 75, "canceling wait for synchronous replication")
        # It is visible by now. The repeat must wait as well, with a file that a collector has too.
        self.assertEqual(primary.sql("SELECT count(*) FROM ledger.event WHERE event_id = 'cancelled'"), "1")
        self.ends(append(primary, "rep", "cancelled", ZUNOL_LEDGER_TIME_LIMIT="1"), 75, "within")
        cancel("the abandoned commit")
        spool = Spool("rep2").fill(["in-commit"])
        collector = spool.start(primary, "--once")
        eventually("the collector's commit waits", lambda: primary.sql(waiting))
        collector.kill()
        collector.communicate()
        self.assertEqual(spool.left(), ["in-commit.json"])

        standby.start()
        eventually("the standby is back", lambda: primary.sql("SELECT sync_state FROM pg_stat_replication") == "sync")
        both = {"PGHOST": f"{primary.place},{standby.place}", "PGTARGETSESSIONATTRS": "read-write"}
        acknowledged = []
        promoted = threading.Event()

        def host(number):
            for turn in range(100):
                done = append(primary, "over", f"{number}-{turn}", **both)
                if done.returncode == 0:
                    acknowledged.append(f"{number}-{turn}")
                elif promoted.is_set():
                    raise AssertionError("refused behind the promotion")
                else:
                    self.ends(done, 75)
                    promoted.wait(20)
                    self.ends(append(primary, "over", f"{number}-{turn}", **both), 0)
                    acknowledged.append(f"{number}-{turn}")
                    return

        with ThreadPoolExecutor(6) as hosts:
            work = [hosts.submit(host, number) for number in range(6)]
            eventually("events arrive", lambda: len(acknowledged) > 12)
            primary.stop("immediate")
            standby.sql("SELECT pg_promote()")
            standby.sql("ALTER SYSTEM SET synchronous_standby_names = ''")
            standby.sql("SELECT pg_reload_conf()")
            time.sleep(0.5)
            promoted.set()
            for each in work:
                each.result()
        self.once(standby, "over", acknowledged)
        self.ends(append(standby, "rep", "cancelled"), 0)
        self.ends(spool.collect(standby), 0)
        self.once(standby, "rep", ["cancelled", "first"])
        self.once(standby, "rep2", ["in-commit"])


@contextlib.contextmanager
def ledger(**settings):
    """A primary with an empty ledger, in a directory of its own."""
    global home, primary
    with tempfile.TemporaryDirectory(prefix="zunol-ledger-") as name:
        home = Path(name)
        home.chmod(0o755)
        primary = Server("primary")
        primary.settings.update(settings)
        try:
            primary.create()
            run(["psql", "-XAtqc", "CREATE DATABASE ledger"], {**primary.env("root"), "PGDATABASE": "postgres"})
            installed = run([LEDGER, "schema", "--install"], primary.env("root"))
            assert installed.returncode == 0, installed.stderr
            primary.sql("CREATE ROLE host_a LOGIN PASSWORD 'it''s a secret' IN ROLE ledger_host; "
                        "CREATE ROLE auditor LOGIN IN ROLE ledger_reader; CREATE ROLE stranger LOGIN")
            yield primary
        finally:
            primary.stop("immediate")


if __name__ == "__main__":
    if not POSTGRES or int(POSTGRES.split("/")[4]) < 15:
        print("skipped: PostgreSQL 15 or later is not installed (Debian: postgresql)")
        sys.exit(77)
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
