# What scripts/test --full adds: what takes minutes. Sourced by scripts/test.
# shellcheck shell=bash

export ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1"
export LSAN_OPTIONS="suppressions=$tree/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1"
export TSAN_OPTIONS="suppressions=$tree/tests/tsan.supp:halt_on_error=1"

# build_checked NAME DIRECTORY OPTION...: a build as a check of its own.
build_checked() {
    check "build: $1" build "$2" -DZOR_BUILD_TESTS=ON -DZOR_WARNINGS_AS_ERRORS=ON "${@:3}"
}

build_checked "clang" "$tree/build-clang" -DCMAKE_CXX_COMPILER=clang++
build_checked "address and undefined-behaviour sanitizers" "$tree/build-asan-ubsan" \
    -DCMAKE_BUILD_TYPE=Debug -DZOR_SANITIZE=address,undefined
build_checked "thread sanitizer" "$tree/build-tsan" \
    -DCMAKE_BUILD_TYPE=Debug -DZOR_SANITIZE=thread

export ZOR_DEADLINE_SCALE=6
suite "unit tests under address and undefined-behaviour sanitizers" \
    run_ctest "$tree/build-asan-ubsan" 900 -E 'packaging|box_fit'
suite "desktop tests under address and undefined-behaviour sanitizers" \
    run_pytest "$tree/build-asan-ubsan" -m "not slow"
suite "unit tests under the thread sanitizer" \
    run_ctest "$tree/build-tsan" 900 -E 'packaging|box_fit|fuzz'
suite "desktop tests under the thread sanitizer" \
    run_pytest "$tree/build-tsan" -m "not slow"
suite "a thousand histories of the shell" \
    env ZOR_MODEL_HISTORIES=1000 ctest --test-dir "$tree/build-asan-ubsan" -R shell_model_test \
    --output-on-failure --timeout 1500
export ZOR_DEADLINE_SCALE=1
suite "long desktop tests" run_pytest "$tree/build" -m slow
suite "packages: build, install, answer a box, upgrade, purge" \
    env ZOR_BUILD_DIR="$tree/build" /usr/bin/python3 -m pytest -q -p no:cacheprovider \
    "$tree/tests/packaging/test_packages.py"
