# What scripts/test --full runs: what takes minutes. Sourced by scripts/test. Most of these tests
# wait a good deal, so three lines of them go on at a time.
# shellcheck shell=bash disable=SC2154

# build_checked NAME DIRECTORY OPTION...: a build as a check of its own.
build_checked() {
    check "build: $1" build "$2" -DZOR_BUILD_TESTS=ON -DZOR_WARNINGS_AS_ERRORS=ON "${@:3}"
}

# sanitized NAME DIRECTORY EXCLUDED: all but the slow tests, and the excluded ones: those of the
# packaging install nothing with a sanitizer, those of the boxes' sizes only measure, those of the
# harness never start the program, and the histories come by themselves.
sanitized() {
    suite "unit tests under the $1" run_ctest "$2" 900 -E "$3"
    suite "desktop tests under the $1" run_pytest "$2" -m "not slow" --ignore test_harness.py
}

come_and_go() {
    suite "20,000 errors that come and go" \
        run_pytest "$tree/build" -rP -m slow -k errors_that_come_and_go
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
        ASAN_OPTIONS="$ASAN_OPTIONS:quarantine_size_mb=32" \
        "$tree/tests/sandbox" --display bash -c \
        'echo 19 2>/dev/null >/proc/self/autogroup; exec nice -n 19 "$0"' \
        "$tree/build-asan-ubsan/tests/unit/shell_model_test"
}

long_tests() {
    suite "long desktop tests" run_pytest "$tree/build" -rP -m slow -k "not errors_that_come_and_go"
}

build_checked "clang" "$tree/build-clang" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug
build_checked "address and undefined-behaviour sanitizers" "$tree/build-asan-ubsan" \
    -DCMAKE_BUILD_TYPE=Debug -DZOR_SANITIZE=address,undefined
build_checked "thread sanitizer" "$tree/build-tsan" \
    -DCMAKE_BUILD_TYPE=Debug -DZOR_SANITIZE=thread

export ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1"
export LSAN_OPTIONS="suppressions=$tree/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1"
# One test looks from a signal handler at what was logged; the program itself has no handlers.
export TSAN_OPTIONS="suppressions=$tree/tests/tsan.supp:halt_on_error=1:report_signal_unsafe=0"

address_lane() {
    sanitized "address and undefined-behaviour sanitizers" "$tree/build-asan-ubsan" \
        'packaging|box_fit|shell_model'
    histories 1 &
    histories 1001 &
    wait
}
thread_lane() {
    sanitized "thread sanitizer" "$tree/build-tsan" 'packaging|box_fit|fuzz'
    ZOR_DEADLINE_SCALE=3 long_tests
    packages
}

# Deadlines are long, because all this shares two processors.
desktops=2
export ZOR_DEADLINE_SCALE=6
address_lane &
thread_lane &
ZOR_DEADLINE_SCALE=3 come_and_go &
wait
