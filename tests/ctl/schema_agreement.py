"""Holds `config schema`, the tool's own judgement and the loader together: whatever the schema refuses,
loader or rule book refuse; and `config check` tells of a value that is not of its type where the loader
fails, the one it fails at first, and nowhere else. Arguments: the tool, the file with all keys and their defaults, and optionally the
number of documents.

Documents are made by setting single keys to values of all sorts while different gates are open. A
schema that refuses too little fails as well: of the documents that the tool refuses it must refuse the
share `least_share`. The rest break rules about several keys, or have numbers in quotes.
"""

import json
import random
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import jsonschema
import yaml

tool, defaults_file = sys.argv[1:3]
document_count = int(sys.argv[3]) if len(sys.argv) > 3 else 400
least_share = 0.85

# Settings that open gates. Leaves are YAML text.
service = {"enabled": "true", "api_base": "x", "project_id": "x", "integration_id": "x",
           "recipient_ref": "x", "service_key_file": "/"}
enabled_checks = ["disk_trend", "disk_io", "network", "domains", "http", "ssl", "dns", "logs",
                  "backups", "test_incident", "disk_health"]
settings = {
    "none": {},
    "all gates shut": {
        "vorn": {"enabled": "no"}, "updates": {"enabled": "off"}, "diagnostics": {"enabled": "n"},
        "reports": {"daily": {"enabled": "FALSE"}},
        "anomaly_detection": {"ssh_failed_logins": {"enabled": "'false'"}},
        "checks": {"disk": {"enabled": "No"}, "inodes": {"enabled": "false"}}},
    "spool": {"vorn": {"queue_only": "false", "transport": "spool"}},
    "command": {"vorn": {"queue_only": "no", "transport": "command", "append_command": "x"}},
    "service": {"telegram": service},
    "bot": {"telegram": {"enabled": "yes", "transport": "bot", "bot_token": "x",
                         "bot_chat_id": "5"}},
    "bot by its second key": {"telegram": {**service, "transport": "smtp", "delivery_mode": "bot",
                                           "bot_token": "x", "bot_chat_id": "5"}},
    "service url": {"telegram": {**service, "service_url": "y"}},
    "commands": {"telegram": service, "telegram_commands": {"enabled": "on"}},
    "commands by their second block": {"telegram": {**service, "commands": {"enabled": "on"}}},
    "actions by their second block": {"telegram": {**service, "max_message_chars": "600"},
                                      "telegram_commands": {"enabled": "on"},
                                      "remote_actions": {"ttl_seconds": "9"}},
    "checks": {"checks": {**{check: {"enabled": "true"} for check in enabled_checks},
                          "network": {"enabled": "true", "traffic_quota_enabled": "true"},
                          "disk": {"paths": "[{}]"}}},
}

values = ["", "~", "word", "''", "' '", "yes", "off", "'true'", "n", "0", "1", "-1", "0x10", "010",
          "08", "1.5", "1e3", "99999999999", "'5'", "' 5'", "'5 '", "'+0x1F'", ".inf", ".nan",
          "-.INF", "5m", "'5 m'", "-5m", "0s", "00", "250ms", "18:00", "'24:00'", "2026-01-01",
          "http://x", "https://x", "[]", "[a, ~, 1]", "[[a]]", "[{}]", "[~]", "{}", "{a: b}",
          "spool", "bot", "service", "strict", "masked", "5000", "100000", "*missing"]


def flow(block):
    """The block as YAML in braces."""
    if isinstance(block, str):
        return block
    return "{" + ", ".join(f"{key}: {flow(value)}" for key, value in block.items()) + "}"


def with_key(block, path, value):
    """A copy of the block with the value at the path."""
    if not path:
        return value
    inner = block.get(path[0], {}) if isinstance(block, dict) else {}
    copy = dict(block) if isinstance(block, dict) else {}
    copy[path[0]] = with_key(inner, path[1:], value)
    return copy


def key_paths(schema, prefix=()):
    """All keys of the schema outside of lists, blocks too."""
    for name, key in schema.get("properties", {}).items():
        yield (*prefix, name)
        yield from key_paths(key, (*prefix, name))


def schema_of(schema, path):
    for name in path:
        schema = schema["properties"][name]
    return schema


def leaves(block, prefix=()):
    for name, value in block.items():
        if isinstance(value, dict):
            yield from leaves(value, (*prefix, name))
        else:
            yield (*prefix, name), value


def fail(*words):
    print(*words, file=sys.stderr)
    sys.exit(1)


schema = json.loads(subprocess.run([tool, "config", "schema"], check=True, capture_output=True).stdout)
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)

# Every key is there with its default, and the defaults follow the schema.
defaults = yaml.safe_load(Path(defaults_file).read_text())
for path, value in leaves(defaults):
    known = schema_of(schema, path)
    if "default" in known and known["default"] != value:
        fail(".".join(path), "has the default", known["default"])
    if "default" not in known and path != ("remote_actions", "require_confirmation"):
        fail(".".join(path), "has no default")
validator.validate(defaults)

def some_value(path):
    value = choose.choice(values)
    items = schema_of(schema, path).get("items", {}).get("properties")
    if items and choose.random() < 0.7:  # a key of an item of a list
        value = f"[{{{choose.choice(list(items))}: {value}}}]"
    return value


paths = list(key_paths(schema))
lists = [path for path in paths
         if "items" in schema_of(schema, path) or schema_of(schema, path).get("$ref") == "#/$defs/texts"]
ruled = [path for path in paths if "The value" in schema_of(schema, path).get("description", "")]
choose = random.Random(20261123)
documents = [(name, flow(block)) for name, block in settings.items()]
for _ in range(document_count):
    name = choose.choice(list(settings))
    path = choose.choice(choose.choice([paths, ruled]))
    text = flow(with_key(settings[name], path, some_value(path)))
    try:
        yaml.safe_load(text)
    except yaml.YAMLError:
        continue  # an editor shows that by itself
    documents.append((f"{name}, {'.'.join(path)}: {value}", text))

def some_keys():
    """Some keys with values of all sorts, as one document, which may be none."""
    block = {}
    for _ in range(choose.randint(1, 6)):
        path = choose.choice(choose.choice([paths, lists]))
        block = with_key(block, path, some_value(path))
    return flow(block)


def expect_load(text, verdict, file):
    """The verdict on the file is that of a load, which `config show` begins with."""
    load = subprocess.run([tool, "config", "show", "--config", file], capture_output=True, text=True,
                          env={})
    if verdict["loaded"] != (load.returncode == 0):
        fail(f"{text}: {verdict}, but {load.stderr or 'it loads'}")
    place = re.search(r"error at line (\d+), column (\d+): (bad conversion|operator)", load.stderr)
    first = (verdict["errors"] or [{}])[0]
    if place and [int(number) for number in place.groups()[:2]] != [first.get("line"), first.get("column")]:
        fail(f"{text}: {first}, but {load.stderr}")
    return bool(place)


mixtures = [some_keys() for _ in range(document_count // 2)]

with tempfile.TemporaryDirectory() as directory:
    files = []
    for number, text in enumerate([text for _, text in documents] + mixtures):
        files.append(Path(directory) / f"{number}.yaml")
        files[-1].write_text(text)
    check = subprocess.run([tool, "--json", "config", "check", *map(str, files)],
                           capture_output=True, text=True, env={})
    if check.stderr:
        fail(check.stderr)
    verdicts = [json.loads(line) for line in check.stdout.splitlines()]
    if len(verdicts) != len(files):
        fail(len(verdicts), "verdicts for", len(files), "documents")
    placed = sum(expect_load(file.read_text(), verdict, file) for file, verdict in zip(files, verdicts))
print(f"{len(files)} loads, {placed} of them with a value that is not of its type")
if placed < document_count / 5:
    fail("too few loads fail")

refused_by_tool = refused_by_both = 0
for (name, text), verdict in zip(documents, verdicts):
    fault = jsonschema.exceptions.best_match(validator.iter_errors(yaml.safe_load(text)))
    if name in settings and not verdict["valid"]:
        fail(name, "is to be valid:", verdict["errors"])
    if verdict["valid"] and fault:
        fail(f"{name}: the schema alone refuses {text}: {fault.message}")
    refused_by_tool += not verdict["valid"]
    refused_by_both += not verdict["valid"] and fault is not None
share = refused_by_both / refused_by_tool
print(f"{len(documents)} documents, {refused_by_tool} refused, {share:.3f} of them by the schema")
if refused_by_tool < document_count / 5 or share < least_share:
    fail("the schema refuses too little")
