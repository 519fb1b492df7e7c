#!/usr/bin/env python3
"""The append command's job as one would write it by hand in Python."""
import json
import os
import re
import subprocess
import sys

TYPES = {
    "agent_started", "agent_stopped", "agent_iteration_failed", "check_failed", "check_recovered",
    "incident_acknowledged", "incident_auto_resolved", "incident_created", "incident_escalated",
    "incident_investigating", "incident_muted", "incident_resolved", "incident_snoozed",
    "telegram_action_received", "telegram_notification_failed", "telegram_notification_sent",
    "test_event",
}


def section(text, name):
    """The scalars of one flat section. There is no YAML parser in the standard library."""
    values, inside = {}, False
    for line in text.splitlines():
        if line and not line[0].isspace():
            inside = line.startswith(name + ":")
        elif inside:
            match = re.match(r'  (\w+): "?([^"]*)"?$', line)
            if match:
                values[match.group(1)] = match.group(2)
    return values


def main():
    event_file = os.environ["ZUNOL_VORN_EVENT_FILE"]
    event_id = os.environ["ZUNOL_VORN_EVENT_ID"]
    with open(event_file, encoding="utf-8") as file:
        event = json.load(file)
    if event["schema"] != "zunol.monitoring.event.v1" or event["type"] not in TYPES:
        return "invalid event"
    for key in ("event_id", "agent_id", "project_id", "server_name", "created_at"):
        if not isinstance(event[key], str) or not event[key]:
            return "invalid event"
    if event["level"] not in ("info", "warning", "critical"):
        return "invalid event"
    if not isinstance(event["payload"], dict) or event["event_id"] != event_id:
        return "invalid event"

    config_file = os.environ["ZUNOL_MONITORING_CONFIG"]
    with open(config_file, encoding="utf-8") as file:
        text = file.read()
    vorn = section(text, "vorn")
    if vorn["enabled"] != "true" or not vorn["history_block_id"] or not vorn["wallet_file"]:
        return "not configured"
    state = os.path.dirname(section(text, "storage")["local_db"])
    ledger = os.path.join(state, "vorn-bridge-ledger")
    marker = os.path.join(ledger, re.sub(r"[^A-Za-z0-9.-]", "_", event_id) + ".ok")
    if os.path.exists(marker):
        return 0
    env = dict(os.environ, ZUNOL_VORN_HISTORY_BLOCK_ID=vorn["history_block_id"],
               ZUNOL_VORN_WALLET_FILE=vorn["wallet_file"])
    done = subprocess.run(["/bin/sh", "-c", os.environ["ZUNOL_VORN_APPEND_BACKEND"]], env=env,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode != 0:
        sys.stderr.buffer.write(done.stdout)
        return done.returncode
    os.makedirs(ledger, exist_ok=True)
    with open(marker, "w", encoding="utf-8") as file:
        file.write(event_id + "\n")
    os.chmod(marker, 0o600)
    return 0


sys.exit(main())
