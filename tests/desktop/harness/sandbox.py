"""A place of its own for one test: network, /etc, /dev, /tmp and processes.

The test stays outside. It shares one directory with the inside, under the same path, and starts
processes there through an agent.
"""

import json
import os
import pathlib
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile

from .process import Process
from .waiting import scaled

TREE = pathlib.Path(__file__).resolve().parents[3]
INSIDE = pathlib.Path(__file__).resolve().parent / "inside"
PASSED_ON = ("ASAN_", "UBSAN_", "TSAN_", "LSAN_", "GCOV_", "LLVM_PROFILE_", "ZOR_")


class SandboxError(Exception):
    """Something inside the sandbox cannot be done."""


class SandboxProcess(Process):
    """A process inside the sandbox."""

    def __init__(self, sandbox, *rest):
        super().__init__(*rest)
        self.sandbox = sandbox

    def poll(self):
        return self.sandbox.call("poll", pid=self.pid)

    def send_signal(self, number):
        self.sandbox.call("send_signal", pid=self.pid, number=int(number))


class Sandbox:
    """Lasts until close(), which ends every process in it and removes its directory.

    `replaced` gives directories of the machine (keys) that others (values) stand in for inside.
    """

    def __init__(self, replaced=None):
        self._replaced = replaced or {}
        # Short, because the path of a socket is.
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="zor-"))
        self._processes_started = 0
        self.log_socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM | socket.SOCK_CLOEXEC)
        self.log_socket.bind(str(self.directory / "log"))
        self.etc = self.directory / "etc"
        self.home = self.directory / "home"
        self.runtime = self.directory / "run"
        for directory in (self.etc, self.home, self.runtime):
            directory.mkdir(mode=0o700)
        self.etc.chmod(0o755)
        self.environment = self._make_environment()
        self._link, inner = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        info_read, info_write = os.pipe()
        with inner, open(info_read, "rb") as info:
            self._bwrap = subprocess.Popen(
                [*self._bwrap_command(info_write), sys.executable, "-IS",
                 str(INSIDE / "process_agent.py"), str(inner.fileno())],
                pass_fds=[inner.fileno(), info_write], env=self.environment,
                stdin=subprocess.DEVNULL)
            os.close(info_write)
            self._first_process = os.pidfd_open(json.load(info)["child-pid"])

    def _make_environment(self):
        environment = {
            "PATH": "/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin",
            "HOME": str(self.home),
            "XDG_RUNTIME_DIR": str(self.runtime),
            "TMPDIR": "/tmp",
            "LANG": "C.UTF-8",
            "GSETTINGS_BACKEND": "memory",  # no settings daemon is started, nothing is kept
        }
        environment |= {name: value for name, value in os.environ.items()
                        if name.startswith(PASSED_ON)}
        return environment

    def _bwrap_command(self, info):
        writable = [self.directory, *filter(None, os.environ.get("ZOR_WRITABLE", "").split(":"))]
        readable = [TREE, build_directory()]
        return [
            "bwrap", "--die-with-parent", "--new-session", "--unshare-net", "--unshare-pid",
            "--unshare-ipc", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc",
            "--tmpfs", "/tmp", "--perms", "1777", "--dir", "/tmp/.X11-unix",
            "--tmpfs", "/run", "--ro-bind", "/etc", "/run/etc",
            *(word for path in readable for word in ("--ro-bind", str(path), str(path))),
            *(word for path in writable for word in ("--bind", str(path), str(path))),
            *(word for target, source in self._replaced.items()
              for word in ("--ro-bind", str(source), target)),
            "--bind", str(self.etc), "/etc",
            "--bind", str(self.directory / "log"), "/dev/log",
            "--chdir", str(self.home),
            "--info-fd", str(info), str(TREE / "tests" / "sandbox-etc"),
        ]

    def call(self, name, descriptors=(), **arguments):
        """Has the agent inside do something."""
        message = json.dumps({"call": name, "with": arguments}).encode()
        socket.send_fds(self._link, [message], descriptors)
        answer = self._link.recv(1 << 20)
        if not answer:
            raise SandboxError("the sandbox has ended")
        answer = json.loads(answer)
        if "problem" in answer:
            raise SandboxError(f"{name}: {answer['problem']}")
        return answer["result"]

    def start(self, arguments, name=None, environment=None, directory=None, stdout=None):
        """Starts a process inside.

        Values of `environment` add to the sandbox's; None removes one. Standard output goes to the
        descriptor `stdout` when there is one, instead of a file.
        """
        self._processes_started += 1
        name = name or pathlib.Path(arguments[0]).name
        stem = self.directory / f"{self._processes_started:02}-{name}"
        stdout_path, stderr_path = stem.with_suffix(".out"), stem.with_suffix(".err")
        merged = self.environment | (environment or {})
        stdin_read, stdin_write = os.pipe()
        stdin = os.fdopen(stdin_write, "wb", buffering=0)
        with open(stdin_read, "rb") as child_in, open(stdout_path, "ab") as child_out, \
                open(stderr_path, "ab") as child_err:
            pid = self.call(
                "start",
                [child_in.fileno(), stdout or child_out.fileno(), child_err.fileno()],
                arguments=[str(argument) for argument in arguments],
                environment={key: value for key, value in merged.items() if value is not None},
                directory=str(directory or self.home))
        return SandboxProcess(self, name, pid, stdin, stdout_path, stderr_path)

    def run(self, arguments, deadline=10.0, **more):
        """Runs a process inside to its end; returns (exit status, standard output, error)."""
        process = self.start(arguments, **more)
        status = process.wait(deadline)
        return status, process.stdout(), process.stderr()

    def processes(self):
        """Every process inside, as dictionaries with pid, parent, session, state, arguments."""
        return self.call("processes")

    def close(self):
        self._link.close()
        # The first process in a process namespace ends after all others there.
        if not select.select([self._first_process], [], [], scaled(10))[0]:
            signal.pidfd_send_signal(self._first_process, signal.SIGKILL)
        self._bwrap.wait()
        select.select([self._first_process], [], [])
        os.close(self._first_process)
        self.log_socket.close()
        shutil.rmtree(self.directory)


def build_directory():
    """Where the programs under test are."""
    return pathlib.Path(os.environ.get("ZOR_BUILD_DIR", TREE / "build")).resolve()
