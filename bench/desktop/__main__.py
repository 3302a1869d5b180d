"""Measures the program on a desktop of its own; scripts/bench starts it in the sandbox."""

import argparse
import datetime
import json
import os
import pathlib
import sys
import time
import traceback

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/desktop"))
import report
import scenarios

SCENARIOS = {function.__name__: function for function in (
    scenarios.micro, scenarios.idle, scenarios.latency, scenarios.answer, scenarios.scale,
    scenarios.start)}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True, help="directory of the built programs")
    parser.add_argument("--results", help="directory for the results")
    parser.add_argument("--quick", action="store_true", help="a little of everything")
    parser.add_argument("--seconds", type=float, help="how long each subject idles (60)")
    parser.add_argument("--only", action="append", choices=SCENARIOS, help="only this one")
    options = parser.parse_args()

    desktop = scenarios.Desktop(options.build, options.quick,
                                options.seconds or (2.0 if options.quick else 60.0))
    scenarios.warm_up(desktop)
    figures = {}
    failed = False
    for name in options.only or SCENARIOS:
        began = time.monotonic()
        print(f"{name} ...", end=" ", flush=True)
        try:
            figures[name] = SCENARIOS[name](desktop)
            print(f"{time.monotonic() - began:.0f} s", flush=True)
        except Exception:  # the other parts are worth having all the same
            failed = True
            traceback.print_exc()
    date = datetime.datetime.now(datetime.timezone.utc)
    results = json.loads(json.dumps({  # numbers as keys become texts, as in the file
        "date": date.strftime("%Y-%m-%d"), "quick": options.quick,
        "machine": report.machine(), "figures": figures}))
    text = report.table(results)
    print("\n" + text)
    if options.results:
        base = os.path.join(options.results, date.strftime("%Y-%m-%d-%H%M"))
        with open(base + ".json", "w") as file:
            json.dump(results, file, indent=1)
            file.write("\n")
        with open(base + ".txt", "w") as file:
            file.write(text)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
