#!/usr/bin/env bash
# Builds the release flavour and runs every benchmark (or those named).
#   scripts/bench.sh [bench_name ...] [-- args passed to each]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release >/dev/null
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  mapfile -t names < <(ls build/release/bench | grep '^bench_' | grep -v '\.')
fi
for b in "${names[@]}"; do
  echo "#### $b"
  "build/release/bench/$b"
done
