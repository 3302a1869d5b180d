# What scripts/test --full runs: what takes minutes. Sourced by scripts/test. Most of these tests
# wait a good deal, so three lines of them go on at a time.
# shellcheck shell=bash disable=SC2154

# build_checked PRESET: a build as a check of its own.
build_checked() { check "build: $1" build "$1" -DZOR_WARNINGS_AS_ERRORS=ON; }

# sanitized PRESET: all tests but the slow ones and those of the test harness, which never start the
# program.
sanitized() {
    suite "unit tests under $1" run_ctest "$1"
    suite "desktop tests under $1" run_pytest "$1" -m "not slow" --ignore test_harness.py
}

come_and_go() {
    suite "20,000 errors that come and go" \
        run_pytest test -rP -m slow -k errors_that_come_and_go
}

packages() {
    suite "packages: build, install, answer a box, upgrade, purge" \
        env ZOR_BUILD_DIR="$tree/build" /usr/bin/python3 -m pytest -q -p no:cacheprovider \
        "$tree/tests/packaging/test_packages.py"
}

# histories SEED: a thousand of them, the first with that seed. A box is small: what was freed long
# before the last few boxes need not be remembered. They never wait, and so they yield to the tests
# that do: by their own priority, and by that of their session where Linux shares by sessions.
histories() {
    check "a thousand histories of the shell from seed $1, address sanitizer" \
        env ZOR_MODEL_HISTORIES=1000 ZOR_MODEL_SEED="$1" \
        ASAN_OPTIONS=quarantine_size_mb=32 \
        "$tree/tests/sandbox" --display bash -c \
        'echo 19 2>/dev/null >/proc/self/autogroup; exec nice -n 19 "$0"' \
        "$(build_directory asan-ubsan)/tests/unit/shell_model_test"
}

long_tests() {
    suite "long desktop tests" run_pytest test -rP -m slow -k "not errors_that_come_and_go"
}

build_checked clang
build_checked asan-ubsan
build_checked tsan

address_lane() {
    sanitized asan-ubsan
    histories 1 &
    histories 1001 &
    wait
}
thread_lane() {
    sanitized tsan
    ZOR_DEADLINE_SCALE=3 long_tests
    packages
}

whole_analysis() {
    renice -n 19 "$BASHPID" >/dev/null
    judge clang-tidy "whole static analysis (clang-tidy)" check_tidy
}

# Deadlines are long, because all this shares two processors.
desktops=2
export ZOR_DEADLINE_SCALE=6
address_lane &
thread_lane &
ZOR_DEADLINE_SCALE=3 come_and_go &
whole_analysis &
wait
