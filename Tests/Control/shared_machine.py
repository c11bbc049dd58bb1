#!/usr/bin/env python3
"""Tests of a machine that several processes share, with real processes.

usage: shared_machine.py ZVCTL CASE [SEED]
"""

import difflib
import json
import os
import pathlib
import random
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time

ZVCTL = sys.argv[1]
PATIENCE = 20  # seconds; a bound for failures, not a measurement


class Control:
    """A client of a control socket."""

    def __init__(self, path):
        deadline = time.monotonic() + PATIENCE
        while True:
            self.stream = socket.socket(socket.AF_UNIX)
            try:
                self.stream.connect(str(path))
                break
            except OSError:
                self.stream.close()
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.02)
        self.lines = self.stream.makefile("rw", encoding="utf-8")
        self.events = []
        self.number = 0

    def call(self, method, **params):
        self.number += 1
        self.lines.write(json.dumps({"jsonrpc": "2.0", "id": self.number, "method": method, "params": params}) + "\n")
        self.lines.flush()
        while True:
            message = json.loads(self.lines.readline())
            if message.get("id") == self.number:
                assert "error" not in message, message
                return message["result"]
            if message.get("method") == "event":
                self.events.append(message["params"])


class Processes:
    """Starts programs on a shared machine and ends them."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.socket = self.folder / "machine.sock"
        self.all = []

    def start(self, *arguments, joined=True, **variables):
        environment = {name: text for name, text in os.environ.items() if not name.startswith("ZV_")}
        if joined:
            environment["ZV_MACHINE"] = f"unix:{self.socket}"
        environment.update(variables)
        process = subprocess.Popen([ZVCTL, *arguments], env=environment, text=True, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=open(self.folder / "stderr", "a"))
        self.all.append(process)
        return process

    def serve(self, *arguments):
        server = self.start("serve", "--socket", str(self.socket), *arguments, joined=False)
        assert server.stdout.readline().startswith("serving"), "no server"
        return server

    def run(self, *arguments):
        process = self.start(*arguments)
        output, _ = process.communicate(timeout=PATIENCE)
        assert process.returncode == 0, (arguments, process.returncode, self.errors())
        return output

    def errors(self):
        return (self.folder / "stderr").read_text()

    def end(self):
        for process in self.all:
            process.kill()
            process.wait()


def watch(processes, **variables):
    process = processes.start("watch", "--json", **variables)
    assert "watching" in process.stdout.readline()
    return process


def three_terminals(processes):
    """Three hosts see the events of two other processes in the same order."""
    processes.serve()
    watchers = [watch(processes, ZV_CONTROL=str(processes.folder / f"watcher{number}")) for number in range(3)]
    controls = [Control(processes.folder / f"watcher{number}") for number in range(3)]
    for control in controls:
        control.call("subscribe")
    for command, state in ((["unplug", "WL600U"], "absent"), (["plug", "WL600U"], "ready"),
                           (["disable", "WL600U"], "problem")):
        processes.run(*command)
        for watcher in watchers:
            # The library merges events that follow each other closely, so a watcher waits for the state.
            while state not in flags_in(json.loads(watcher.stdout.readline()), "WL600U"):
                pass
    equal_machines([Control(processes.socket), *controls])
    logs = [[(event["kind"], event["data"]) for event in control.events] for control in controls]
    assert len(logs[0]) >= 3 and logs[0] == logs[1] == logs[2], logs
    listed = {adapter["deviceName"]: adapter["flags"] for adapter in json.loads(processes.run("list", "--json"))}
    assert listed["Zorvane WL600U Wi-Fi 6 USB Adapter"] == ["problem"], listed


def flags_in(event, adapter):
    """Returns the flags that the event reports for the adapter."""
    return [flag for change in event["changes"] if adapter in change["deviceName"] for flag in change["after"]["flags"]]


def equal_machines(controls):
    """Waits until all processes describe the same machine."""
    deadline = time.monotonic() + PATIENCE
    while True:
        machines = [control.call("describe") for control in controls]
        for machine in machines:
            del machine["sequence"]  # each process counts its own log
        if all(machine == machines[0] for machine in machines):
            return machines[0]
        if time.monotonic() > deadline:
            for number, machine in enumerate(machines):
                pathlib.Path(f"/tmp/shared-machine-{number}.json").write_text(json.dumps(machine, indent=1))
            raise AssertionError("the machines differ; see /tmp/shared-machine-*.json")
        time.sleep(0.05)


ADAPTERS = ("WL600U", "WL610S", "WL630U", "WL600U")


def random_line(dice):
    adapter = dice.choice(ADAPTERS)
    return dice.choice((
        f"plug {adapter}", f"unplug {adapter}", f"problem {adapter} {dice.choice((0, 10, 22))}", "suspend", "resume",
        f"driver-version {adapter} {dice.randrange(9)}.{dice.randrange(9)}", f"disable {adapter}", f"enable {adapter}",
        f"uninstall {adapter}", f"set {adapter} 0x{dice.randrange(16, 32):x} {dice.randrange(2**32):08x}",
        f"reg write {adapter} Value{dice.randrange(9)} {dice.randrange(1000)}", f"slow {adapter} {dice.randrange(3)}",
    ))


class RandomHost:
    """A shell on the shared machine that makes random changes and has a control socket of its own."""

    def __init__(self, processes, name):
        self.path = processes.folder / name
        self.process = processes.start("shell", ZV_CONTROL=str(self.path))
        self.say("list")
        self.control = Control(self.path)

    def say(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()


def random_changes(processes, seed, changes=1000):
    """Three hosts change one machine, are killed and started, and end with equal machines."""
    dice = random.Random(seed)
    processes.serve()
    hosts = [RandomHost(processes, f"host{number}") for number in range(3)]
    for change in range(changes):
        number = dice.randrange(3)
        hosts[number].say(random_line(dice))
        if dice.randrange(100) == 0:
            hosts[number].process.kill()
            hosts[number].process.wait()
            hosts[number] = RandomHost(processes, f"host{number}.{change}")
    # The lines of a shell run in order, so the last one follows all changes.
    for host in hosts:
        host.say("echo done")
    for host in hosts:
        while host.process.stdout.readline().strip() != "done":
            assert host.process.poll() is None, processes.errors()
    equal_machines([Control(processes.socket)] + [host.control for host in hosts])


def server_restart(processes):
    """Hosts outlive their server, say so once, and join the next one."""
    server = processes.serve()
    hosts = [RandomHost(processes, f"host{number}") for number in range(2)]
    processes.run("unplug", "WL600U")
    equal_machines([host.control for host in hosts])
    server.send_signal(signal.SIGKILL)
    server.wait()
    hosts[0].say("list")
    hosts[0].say("expect-fail unplug WL900E")
    hosts[0].say("echo alive")
    while hosts[0].process.stdout.readline().strip() != "alive":
        assert hosts[0].process.poll() is None, processes.errors()
    lost = processes.errors().count("the server of the shared machine is gone")
    assert lost == len(hosts), processes.errors()
    processes.serve()
    control = Control(processes.socket)
    machine = equal_machines([control] + [host.control for host in hosts])
    # The new server has the machine of its file.
    assert machine["adapters"][0]["adapter"].get("present", True)
    processes.run("problem", "WL610S", "10")
    equal_machines([control] + [host.control for host in hosts])


def replay(processes):
    """A journal makes a host see the same again, twice."""
    journal = processes.folder / "recorded.jsonl"
    processes.serve("--journal", str(journal))
    requests = ["ioctl WL600U 0x222000 --in text:hello --out 5 --json", "get WL600U 0x10 6 --json",
                "ioctl WL600U 0x222004 --async --in text:hello --out 5 --json"]
    lines = ["list --json", "echo ready", "wait status-changed 15", "echo unplugged", "wait arrived 15", *requests,
             "echo plugged", "wait status-changed 15", "list --json"]
    script = processes.folder / "host.zv"
    script.write_text("\n".join(lines) + "\n")
    recorded = processes.start("script", str(script))
    output = []
    for word, command in (("ready", "unplug"), ("unplugged", "plug"), ("plugged", "unplug")):
        while not output or output[-1].strip() != word:
            output.append(recorded.stdout.readline())
            assert output[-1], processes.errors()
        processes.run(command, "WL600U")
    output += recorded.communicate(timeout=PATIENCE)[0].splitlines(keepends=True)
    assert recorded.returncode == 0, processes.errors()
    replays = []
    for _ in range(2):
        again = processes.start("replay", str(journal), "--", ZVCTL, "script", str(script), joined=False)
        replays.append(again.communicate(timeout=PATIENCE)[0])
        assert again.returncode == 0, processes.errors()
    for again in replays:
        difference = difflib.unified_diff(strip_times("".join(output)), strip_times(again), "recorded", "replayed", n=0)
        assert not (lines := list(difference)), "\n".join(lines)


def strip_times(text):
    """Removes the times at which events arrived."""
    return re.sub(r"^\d{4}-\d\d-\d\dT[\d:.]+Z", "TIME", text, flags=re.MULTILINE).splitlines()


def main():
    case, seed = sys.argv[2], int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(2**32)
    with tempfile.TemporaryDirectory() as folder:
        processes = Processes(folder)
        try:
            if case == "random_changes":
                print("seed", seed)
                random_changes(processes, seed)
            else:
                {"three_terminals": three_terminals, "server_restart": server_restart, "replay": replay}[case](processes)
        except BaseException:
            print(processes.errors(), file=sys.stderr)
            raise
        finally:
            processes.end()


main()
