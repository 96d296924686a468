#!/usr/bin/env bash
# Generates the reference manual of the public headers into build/docs/html
# with Doxygen. Fails on any warning: every exported function, variable,
# type and constant must be documented (who owns returned text included).
set -euo pipefail
cd "$(dirname "$0")/.."
command -v doxygen >/dev/null || scripts/setup.sh
mkdir -p build/docs
( cat docs/Doxyfile; echo "OUTPUT_DIRECTORY = build/docs"; echo "WARN_LOGFILE = build/docs/warnings.log" ) \
  | doxygen - || { cat build/docs/warnings.log >&2; exit 1; }
if [ -s build/docs/warnings.log ]; then cat build/docs/warnings.log >&2; exit 1; fi
echo "reference manual: build/docs/html/index.html"
