"""What is measured. Each function returns its figures as a dictionary."""

import contextlib
import json
import os
import random
import socket
import statistics
import subprocess
import threading
import time

from harness.process import Here
from harness.service import Service
from processes import Process, monotonic_us
from screen import NotSeen, Screen

CONFIG_FILE = "/etc/zor-card-printer.conf"
TEN_LINES_LEVEL_0 = "".join(f"some.setting.number.{n} = value\n" for n in range(1, 10)) + \
    "diagnostics.level = 0\n"
PRINTER = "Front Desk"


class Desktop:
    """The programs to measure and how much of everything."""

    def __init__(self, build, quick, seconds):
        self.build = build
        self.quick = quick
        self.seconds = seconds  # for which each subject idles

    def amount(self, full, quick):
        return quick if self.quick else full

    @contextlib.contextmanager
    def service(self):
        service = Service(Here(), [f"{self.build}/zor-printer-service-simulator"])
        try:
            yield service
        finally:
            service.kill()

    def program(self):
        return Process(f"{self.build}/zor-card-printer-error-ui", "--no-fork")

    def yardstick(self, name):
        return Process(f"{self.build}/bench/yardstick_{name}")


def configure(content):
    if content is not None:
        with open(CONFIG_FILE, "w") as file:
            file.write(content)
    elif os.path.exists(CONFIG_FILE):
        os.remove(CONFIG_FILE)


def summary(values):
    ordered = sorted(values)
    return {"count": len(ordered), "minimum": ordered[0], "median": statistics.median(ordered),
            "p95": ordered[min(len(ordered) - 1, int(len(ordered) * 0.95))],
            "maximum": ordered[-1]}


def show_box(service, screen, printer, job, severity=3):
    """Reports an error until its box is there: a status that a newer one overtakes before the next
    tick never gets to the screen. When the service held it, and the box."""
    for _ in range(5):
        published = service.count("event published")
        service.report(printer, job, severity=severity, text="Made for a benchmark.")
        held = service.wait_for("event published", published + 1)[published].time
        try:
            return held, screen.wait_for_box(5)
        except NotSeen:
            pass
    raise RuntimeError("a box does not come")


def close_box(service, screen, printer, job):
    """Withdraws an error until its box is gone."""
    left = screen.count() - 1
    for _ in range(5):
        service.withdraw(printer, job)
        try:
            screen.wait_for_count(left, 5)
            return
        except NotSeen:
            service.report(printer, job)
            service.wait_for_replies(2)
    raise RuntimeError("a box does not go")


def warm_up(desktop):
    """The first program on a fresh desktop fills font and icon caches, and starts services."""
    with desktop.service() as service, desktop.program():
        screen = Screen()
        show_box(service, screen, PRINTER, 1)
        close_box(service, screen, PRINTER, 1)


# ---- Single operations --------------------------------------------------------------------------


def micro(desktop):
    """The small benchmarks: nanoseconds of each operation."""
    output = subprocess.run(
        [f"{desktop.build}/bench/micro_benchmarks", "--benchmark_format=json",
         f"--benchmark_min_time={desktop.amount(0.3, 0.01)}"],
        check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    return {entry["name"].replace("/real_time", ""):
            {"cpu_ns": entry["cpu_time"], "real_ns": entry["real_time"]}
            for entry in json.loads(output)["benchmarks"]}


# ---- Idle ---------------------------------------------------------------------------------------


def idle(desktop):
    """Processor time, switches and memory when nothing happens; all subjects take turns."""
    subjects = {
        "program": (desktop.program, None),
        "program, ten-line file": (desktop.program, TEN_LINES_LEVEL_0),
        "threaded poller": (lambda: desktop.yardstick("threaded_poller"), None),
        "bare poller": (lambda: desktop.yardstick("bare_poller"), None),
        "empty GTK": (lambda: desktop.yardstick("empty_gtk"), None),
    }
    rounds = desktop.amount(4, 1)
    seconds = desktop.seconds / rounds
    samples = {name: [] for name in subjects}
    for _ in range(rounds):
        for name, (start, config) in subjects.items():
            configure(config)
            with desktop.service() as service, start() as process:
                samples[name].append(idle_sample(desktop, service, process, seconds, name))
    configure(None)
    return {name: merged(parts) for name, parts in samples.items()}


def idle_sample(desktop, service, process, seconds, name):
    polls_expected = name != "empty GTK"
    if polls_expected:
        service.wait_for_replies(desktop.amount(15, 5))
    else:
        process.wait_for_line(" active")
        time.sleep(desktop.amount(2, 0.5))
    replies = service.replies()
    cpu, switches, began = process.cpu_us(), process.context_switches(), time.monotonic()
    time.sleep(seconds)
    sample = {"cpu_us": process.cpu_us() - cpu,
              "switches": process.context_switches() - switches,
              "polls": service.replies() - replies,
              "seconds": time.monotonic() - began,
              "memory": process.memory_kib()}
    replies = service.replies()
    calls = process.system_calls(desktop.amount(2, 1))
    sample["calls"] = calls
    sample["traced_polls"] = service.replies() - replies
    if polls_expected and sample["polls"] < seconds * 5:
        raise RuntimeError(f"{name} polled only {sample['polls']} times in {seconds} s")
    return sample


def merged(samples):
    """One figure from all rounds; for what does not poll a poll is 100 ms."""
    def total(key):
        return sum(sample[key] for sample in samples)
    polls = total("polls") or total("seconds") * 10
    traced_polls = total("traced_polls")
    names = {name for sample in samples for name in sample["calls"]}
    calls = {name: sum(s["calls"].get(name, 0) for s in samples) for name in names}
    per_poll = {name: round(count / traced_polls, 2)
                for name, count in sorted(calls.items(), key=lambda item: -item[1])
                } if traced_polls else {}
    return {"seconds": total("seconds"), "polls": total("polls"),
            "cpu_us_per_poll": total("cpu_us") / polls,
            "cpu_us_per_poll_by_round": [s["cpu_us"] / (s["polls"] or s["seconds"] * 10)
                                         for s in samples],
            "core_percent": total("cpu_us") / total("seconds") / 1e4,
            "switches_per_poll": total("switches") / polls,
            "calls_per_poll": sum(calls.values()) / traced_polls if traced_polls else 0,
            "calls_per_poll_by_name": per_poll,
            "resident_kib": statistics.median(s["memory"]["resident"] for s in samples),
            "proportional_kib": statistics.median(s["memory"]["proportional"] for s in samples)}


# ---- Latency and answer -------------------------------------------------------------------------


def latency(desktop):
    """From the moment the service holds an error to its box being mapped, at random phases."""
    dice = random.Random(1753)
    milliseconds = []
    with desktop.service() as service, desktop.program():
        screen = Screen()
        service.wait_for_replies(5)
        for job in range(desktop.amount(200, 10)):
            time.sleep(dice.uniform(0, 0.1))
            held, box = show_box(service, screen, PRINTER, job)
            milliseconds.append((box.mapped_us - held) / 1000)
            close_box(service, screen, PRINTER, job)
    return summary(milliseconds)


def answer(desktop):
    """From the release of a box's button to the last byte of the command at the service."""
    milliseconds = []
    with desktop.service() as service, desktop.program():
        screen = Screen()
        service.wait_for_replies(5)
        offset = find_button(service, screen)
        for job in range(desktop.amount(50, 5)):
            _, box = show_box(service, screen, PRINTER, job, severity=2)
            # A press where the pointer rests counts when the time of a double click is over.
            service.wait_for_replies(6)
            commands = service.count("request command")
            released = screen.press_at(box.x + box.width - offset[0],
                                       box.y + box.height - offset[1])
            arrived = service.wait_for("request command", commands + 1)[commands].time
            milliseconds.append((arrived - released) / 1000)
            screen.wait_for_count(0, 10)
    return summary(milliseconds)


def find_button(service, screen):
    """Where the only button of a box is, from the box's lower right corner: a press that the
    service hears of found it."""
    _, box = show_box(service, screen, PRINTER, "calibration", severity=2)
    service.wait_for_replies(3)
    for up in range(15, box.height // 2, 12):
        for left in range(25, box.width, 40):
            screen.press_at(box.x + box.width - left, box.y + box.height - up)
            try:
                screen.wait_for_count(0, 0.02)
            except NotSeen:
                continue
            service.wait_for_commands()
            return left, up
    raise RuntimeError("no button found in the box")


# ---- Scale --------------------------------------------------------------------------------------


class Log:
    """The system log: keeps the time at which the building of each box began."""

    def __init__(self):
        if os.path.exists("/dev/log"):
            os.remove("/dev/log")
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind("/dev/log")
        self.box_begins = []
        threading.Thread(target=self._collect, daemon=True).start()

    def _collect(self):
        while True:
            line = self._socket.recv(1 << 20)
            if b" present_error_box begin; " in line:
                self.box_begins.append(monotonic_us())


def scale(desktop):
    """Boxes one after the other and all at once: time and memory of each, and what is left."""
    log = Log()
    configure("diagnostics.level = 1\n")
    try:
        with desktop.service() as service, desktop.program() as program:
            screen = Screen()
            service.wait_for_replies(5)
            result = {"batches": batches(desktop, service, program, screen),
                      "open": open_boxes(desktop, service, program, screen, log)}
            result["after_all_closed"] = close_all(service, program, screen,
                                                   range(max(result["open"])))
            return result
    finally:
        configure(None)


def batches(desktop, service, program, screen):
    """Memory after each batch of 50 boxes was shown and closed."""
    size = desktop.amount(50, 5)
    memory = []
    for batch in range(10 if not desktop.quick else 2):
        jobs = range(batch * size, (batch + 1) * size)
        for job in jobs:
            show_box(service, screen, PRINTER, job)
        memory.append(close_all(service, program, screen, jobs))
    return memory


def close_all(service, program, screen, jobs):
    for job in jobs:
        close_box(service, screen, PRINTER, job)
    service.wait_for_replies(10)
    return program.memory_kib()


def open_boxes(desktop, service, program, screen, log):
    """Opens boxes up to each count. Times are those of the last boxes before it, at most ten."""
    figures = {}
    count = 0
    for target in desktop.amount((1, 10, 100, 110, 500), (1, 5, 10)):
        measured = min(10, target - count)
        add_boxes(service, screen, count, target - measured)
        cpu, begins = program.main_thread_cpu_us(), len(log.box_begins)
        boxes = add_boxes(service, screen, target - measured, target)
        service.wait_for_replies(2)  # drawing belongs to it
        cpu = program.main_thread_cpu_us() - cpu
        walls = [(box.mapped_us - begin) / 1000
                 for box, begin in zip(boxes, log.box_begins[begins:])]
        figures[target] = {"measured": measured, "cpu_ms_per_box": cpu / 1000 / measured,
                           "build_and_map_ms": statistics.median(walls),
                           "memory": program.memory_kib(),
                           "idle_cpu_us_per_poll": idle_with_boxes(desktop, service, program)}
        count = target
    return figures


def add_boxes(service, screen, count, target):
    """One at a time, each mapped before the next is reported."""
    boxes = []
    for job in range(count, target):
        boxes.append(show_box(service, screen, PRINTER, job)[1])
    return boxes


def idle_with_boxes(desktop, service, program):
    service.wait_for_replies(desktop.amount(10, 5))  # all is drawn
    replies = service.replies()
    cpu = program.cpu_us()
    service.wait_for_replies(desktop.amount(30, 5))
    return (program.cpu_us() - cpu) / (service.replies() - replies)


# ---- Start --------------------------------------------------------------------------------------


def start(desktop):
    """From exec to the first request at the service, or to the empty application's activation."""
    milliseconds = {"program": [], "threaded poller": [], "empty GTK": []}
    with desktop.service() as service:
        for turn in range(desktop.amount(21, 3)):
            for name, begin in (("program", desktop.program),
                                ("threaded poller", lambda: desktop.yardstick("threaded_poller"))):
                requests = service.count("request status")
                with begin() as process:
                    first = service.wait_for("request status", requests + 1, 30)[requests].time
                    taken = (first - process.started_us) / 1000
                    milliseconds[name] += [taken] if turn else []  # the first one warms up
            with desktop.yardstick("empty_gtk") as process:
                active = int(process.wait_for_line(r"^(\d+) active")[1])
                milliseconds["empty GTK"] += [(active - process.started_us) / 1000] if turn else []
    return {name: summary(values) for name, values in milliseconds.items()}
