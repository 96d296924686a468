#!/usr/bin/env bash
# Builds the libFuzzer targets (scripts/build.sh fuzz) and runs each for N
# seconds, N given as $1 (default 60), starting from a scratch copy of its
# seed corpus. Exits non-zero when any target reports a crash, a leak, a
# sanitizer finding or a time-out; the input that did it is kept under
# build/fuzz/artifacts/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"

scripts/build.sh fuzz

artifacts="build/fuzz/artifacts"
mkdir -p "$artifacts"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:allocator_may_return_null=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

failed=0
shopt -s nullglob
targets=(build/fuzz/fuzz/fuzz_*)
if ((${#targets[@]} == 0)); then
  echo "fuzz: no targets were built" >&2
  exit 1
fi
for target in "${targets[@]}"; do
  [ -x "$target" ] || continue
  name="$(basename "$target")"
  work="$(mktemp -d)"
  cp fuzz/corpus/"$name"/* "$work"/ 2>/dev/null || true
  echo "== $name for ${seconds}s =="
  if ! "$target" -max_total_time="$seconds" -max_len=16384 -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$artifacts/$name-" "$work" >"$artifacts/$name.log" 2>&1; then
    echo "fuzz: $name failed; see $artifacts/$name.log" >&2
    tail -n 40 "$artifacts/$name.log" >&2
    failed=1
  else
    grep -E "^stat::number_of_executed_units|^#[0-9]+.*DONE" "$artifacts/$name.log" | tail -n 2 || true
  fi
  rm -rf "$work"
done
exit "$failed"
