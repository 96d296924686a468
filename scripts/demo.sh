#!/usr/bin/env bash
# The library's main job on one machine: installs what is missing, builds,
# and runs the agent's command-line tool against the library's embedded
# default, the reference management server on 127.0.0.1.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release vorkcomm VORKCoreCommC >/dev/null
tool=build/release/tools/cli/vorkcomm

if "$tool" --help | grep -q '^  demo '; then
  exec "$tool" demo "$@"
fi

echo "== host =="
echo "IPv4 address: $("$tool" ip || true)"
"$tool" in-range 10.0.5.1 10.0.0.0 10.0.255.255
"$tool" in-range 10.1.0.5 10.0.0.10 10.2.0.1 || true
echo "== server URLs from typed addresses =="
for typed in server server:443 server/base http://server myhttpserver; do
  printf '%-16s -> %s\n' "$typed" "$("$tool" server-url "$typed")"
done
