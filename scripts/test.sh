#!/usr/bin/env bash
# Builds and runs every test: the plain build, then AddressSanitizer with
# UndefinedBehaviorSanitizer, then the fuzz targets for a bounded time, then
# ThreadSanitizer over the threaded code.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

run_ctest() {
  local dir="$1"; shift
  ctest --test-dir "$dir" --output-on-failure -j2 "$@"
}

echo "== release build =="
scripts/build.sh release
run_ctest build/release

echo "== reference manual and Debian package =="
scripts/docs.sh
scripts/package.sh --check

echo "== AddressSanitizer + UndefinedBehaviorSanitizer =="
scripts/build.sh asan
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  run_ctest build/asan

if [ -x scripts/fuzz.sh ]; then
  echo "== fuzz targets (bounded) =="
  scripts/fuzz.sh 30
fi

echo "== ThreadSanitizer (threaded code) =="
# Configure first: the build writes which test programs run threads.
cmake -S . -B build/tsan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVORK_SANITIZE=thread -DVORK_BUILD_BENCH=OFF >/dev/null
read -r -a threaded_targets < build/tsan/threaded-tests.targets || true  # the file has no final newline
scripts/build.sh tsan "${threaded_targets[@]}"
TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
  run_ctest build/tsan -R "$(cat build/tsan/threaded-tests.regex)"

