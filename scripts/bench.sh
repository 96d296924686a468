#!/usr/bin/env bash
# Builds the release flavour and runs every benchmark (or those named).
#   scripts/bench.sh [bench_name ...] [-- args passed to each]
# The soak (bench_soak: memory and descriptors over 100,000 keepAlive calls
# and 1,000 transfers) runs only when named; smaller counts directly:
#   build/release/bench/bench_soak 10000 200
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release >/dev/null
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  mapfile -t names < <(ls build/release/bench | grep '^bench_' | grep -v '\.' | grep -vx bench_soak)
fi
for b in "${names[@]}"; do
  echo "#### $b"
  "build/release/bench/$b"
done
