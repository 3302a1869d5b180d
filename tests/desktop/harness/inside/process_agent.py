"""Runs as the first process inside a sandbox and starts others there.

Each request is one message, a JSON object, on the SOCK_SEQPACKET socket whose descriptor is the
only argument; "start" brings the descriptors for standard input, output and error along. The
sandbox ends with this process, and this process with its socket.
"""

import json
import os
import signal
import socket
import subprocess
import sys

MAX_MESSAGE = 1 << 20
children = {}


def start(descriptors, arguments, environment, directory):
    stdin, stdout, stderr = descriptors
    child = subprocess.Popen(arguments, env=environment, cwd=directory, stdin=stdin, stdout=stdout,
                             stderr=stderr, start_new_session=True)
    children[child.pid] = child
    return child.pid


def poll(pid):
    """The exit status, negative for a signal; None while it runs."""
    return children[pid].poll()


def send_signal(pid, number):
    os.kill(pid, number)


def read_file(path):
    with open(path, encoding="utf-8", errors="surrogateescape") as file:
        return file.read()


def list_directory(path):
    return sorted(os.listdir(path))


def links(path):
    """Where the links in a directory lead, by their names."""
    found = {}
    for name in os.listdir(path):
        try:
            found[name] = os.readlink(os.path.join(path, name))
        except FileNotFoundError:
            pass  # it has just gone
    return found


def describe_process(pid):
    with open(f"/proc/{pid}/cmdline", "rb") as file:
        arguments = os.fsdecode(file.read()).split("\0")[:-1]
    with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
        state, parent, _, session = file.read().rpartition(")")[2].split()[:4]
    return {"pid": pid, "parent": int(parent), "session": int(session), "state": state,
            "arguments": arguments}


def processes():
    found = []
    for name in os.listdir("/proc"):
        if name.isdigit():
            try:
                found.append(describe_process(int(name)))
            except (FileNotFoundError, ProcessLookupError):
                pass  # it has just ended
    return found


def serve(link):
    calls = {"poll": poll, "send_signal": send_signal, "read_file": read_file,
             "list_directory": list_directory, "links": links, "processes": processes}
    while True:
        message, descriptors, _, _ = socket.recv_fds(link, MAX_MESSAGE, 3)
        if not message:
            return
        request = json.loads(message)
        try:
            if request["call"] == "start":
                result = start(descriptors, **request["with"])
            else:
                result = calls[request["call"]](**request["with"])
            answer = {"result": result}
        except (OSError, ValueError, KeyError) as problem:
            answer = {"problem": f"{type(problem).__name__}: {problem}"}
        for descriptor in descriptors:
            os.close(descriptor)
        link.send(json.dumps(answer).encode())


if __name__ == "__main__":
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    serve(socket.socket(fileno=int(sys.argv[1])))
