#!/usr/bin/python3
"""Tests the control protocol with a real host: control.py ZVCTL CASE."""
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).parents[2]
sys.path.append(str(ROOT / "Tests" / "Tools"))
import schemas

ZVCTL = sys.argv[1]
DOCUMENT = (ROOT / "docs" / "CONTROL.md").read_text()
PATIENCE = 60  # seconds; a bound for failures, not a measurement
CALL = '{"jsonrpc":"2.0","id":1,"method":"describe"}\n'


class Client:
    """A connection; reads the greeting."""

    def __init__(self, path):
        self.stream = socket.socket(socket.AF_UNIX)
        self.stream.settimeout(PATIENCE)
        self.stream.connect(path)
        self.lines = self.stream.makefile("rw", encoding="utf-8")
        self.greeting = self.read()

    def read(self):
        return json.loads(self.lines.readline())

    def send(self, text):
        self.lines.write(text)
        self.lines.flush()

    def call(self, method, **params):
        self.send(json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": params}) + "\n")
        while "method" in (message := self.read()):
            pass
        return message["result"]


class Host:
    """A session of zvctl that listens."""

    def __init__(self, path):
        self.path = path
        variables = {**os.environ, "ZV_CONTROL": path}
        self.process = subprocess.Popen([ZVCTL, "shell"], env=variables, stdin=subprocess.PIPE, text=True)
        end = time.monotonic() + PATIENCE
        while socket.socket(socket.AF_UNIX).connect_ex(path) != 0:
            assert self.process.poll() is None and time.monotonic() < end, "the host does not listen"
            time.sleep(0.02)

    def end(self):
        self.process.communicate("quit\n", timeout=PATIENCE)
        assert self.process.returncode == 0, self.process.returncode


def matches(shown, got):
    """The document leaves out members; a time in it stands for any."""
    if isinstance(shown, dict):
        return isinstance(got, dict) and all(name in got and matches(shown[name], got[name]) for name in shown)
    if isinstance(shown, str) and re.fullmatch(r"2026-\d\d-\d\dT.*Z", shown):
        return re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z", got)
    return shown == got


def check(message, pointer):
    faults = [f"{error.json_path}: {error.message}" for error in schemas.errors(message, "control", pointer)]
    assert not faults, (message, faults)


def examples(host):
    client = Client(host.path)
    greeting = client.greeting
    calls = {}
    blocks = re.findall(r"```jsonrpc\n(.*?)```", DOCUMENT, re.DOTALL)
    for line in "".join(blocks).splitlines():
        message = json.loads(line[3:])
        if line.startswith("-> "):
            client.send(line[3:] + "\n")
            if isinstance(message, dict):
                check(message, "")
                calls[message["id"]] = message
        else:
            got, greeting = greeting or client.read(), None
            assert matches(message, got), (line, got)
            check(got, "")
            call = calls.get(got.get("id"))
            if "result" in got:
                check(call.get("params", {}), f"/$defs/params/{call['method']}")
                check(got["result"], f"/$defs/results/{call['method']}")
            elif "error" in got and got["error"]["code"] == -32602:
                assert list(schemas.errors(call["params"], "control", f"/$defs/params/{call['method']}"))
    called = {call["method"] for call in calls.values()}
    missing = set(client.greeting["params"]["methods"]) - called - {"change", "report"}
    assert not missing, f"no example of {missing}"


def conductor(host):
    script = re.search(r"```python file=conductor.py\n(.*?)```", DOCUMENT, re.DOTALL).group(1)
    result = subprocess.run([sys.executable, "-c", script, host.path + "2", ZVCTL, "shell"], stdin=subprocess.DEVNULL,
                            capture_output=True, text=True, timeout=PATIENCE, check=True)
    assert result.stdout.splitlines() == ["protocol 1"] + ["event adapterChanged"] * 2, result.stdout


def bad_clients(host):
    for text, code in (("{", -32700), ('"\\ud800', -32700), ('{"a":1,"a":2}', -32700), ("[" * 100, -32700),
                       ("7", -32600), ("[]", -32600), ('{"jsonrpc":"1.0","id":1,"method":"plug"}', -32600),
                       ('{"jsonrpc":"2.0","id":{},"method":"plug"}', -32600),
                       ('{"jsonrpc":"2.0","id":1,"method":"plug","params":[]}', -32602),
                       ('{"jsonrpc":"2.0","id":1,"method":"plug","params":{"id":-1}}', -32602),
                       ('{"jsonrpc":"2.0","id":1,"method":"subscribe","params":{"kinds":["x"]}}', -32602)):
        client = Client(host.path)
        client.send(text)
        client.stream.shutdown(socket.SHUT_WR)  # half-closed, without a line end
        assert client.read()["error"]["code"] == code, text
        assert client.lines.read() == "", text
    client = Client(host.path)
    try:
        client.stream.sendall(b"x" * (2 << 20))
    except OSError:
        pass  # the server has closed the connection
    assert client.read()["error"]["code"] == -32600
    for _ in range(20):  # vanished with answers under way
        client = Client(host.path)
        client.send(CALL * 50 + CALL[:10])
        client.stream.close()
        client.lines.close()
    clients = [Client(host.path) for _ in range(100)]
    for client in clients:
        client.send(CALL * 3)
    for client in clients:
        assert all("result" in client.read() for _ in range(3))


def stalled_client(host):
    """Loses events and learns which, while another client receives all."""
    stalled, reader = Client(host.path), Client(host.path)
    stalled.call("subscribe")
    reader.call("subscribe")
    count = 6000
    value = {"type": "sz", "value": "x" * 500}
    for number in range(count):
        reader.call("registryWrite", path="A", name="x", value=value)
    last = 0
    lost = False
    while last < count:
        message = stalled.read()["params"]
        assert message.get("sequence", message.get("from")) == last + 1, message
        lost = lost or "to" in message
        last = message.get("sequence", message.get("to"))
    assert lost


def sockets(host):
    variables = {**os.environ, "ZV_CONTROL": host.path}
    live = subprocess.run([ZVCTL, "list"], env=variables, capture_output=True, text=True, check=False)
    assert live.returncode == 2 and "another process listens here" in live.stderr, live.stderr
    assert os.stat(host.path).st_mode & 0o777 == 0o600
    host.process.kill()
    host.process.wait()
    Host(host.path).end()  # replaces the stale socket
    os.chmod(os.path.dirname(host.path), 0o777)
    open_folder = subprocess.run([ZVCTL, "list"], env=variables, capture_output=True, text=True, check=False)
    assert open_folder.returncode == 2 and "writable by the user only" in open_folder.stderr, open_folder.stderr


def held_calls(host):
    client = Client(host.path)
    client.call("holdCall", function="CreateFileA")
    host.process.stdin.write("get 0 0x11 6\n")
    host.process.stdin.flush()
    end = time.monotonic() + PATIENCE
    while client.call("describe")["heldCalls"][0]["threads"] == 0:
        assert time.monotonic() < end
        time.sleep(0.02)
    assert client.call("releaseCall", function="CreateFileA") == {"threads": 1}
    client.call("driver", adapter="0", settings={"hang": True})
    host.process.stdin.write("ioctl 0 0x222000 --async --patience 20000\n")
    host.process.stdin.flush()
    while not (requests := client.call("requests")["requests"]):
        assert time.monotonic() < end
        time.sleep(0.02)
    assert requests[0]["adapter"] == 1 and requests[0]["threadId"] > 0, requests
    client.call("driver", adapter="0", settings={"hang": False})


with tempfile.TemporaryDirectory() as folder:
    case = globals()[sys.argv[2]]
    subject = Host(folder + "/control/host.sock")
    try:
        case(subject)
    finally:
        subject.process.poll() is None and subject.end()
