#!/usr/bin/env bash
# Compares the shared library's exported dynamic symbols with the public
# headers:
#  - every VORK_API name is exported under its plain name;
#  - every VORK_API_CXX name is exported under a decorated name;
#  - every other exported symbol is a C++ symbol of namespace vork.
# usage: check_exports.sh LIBRARY HEADER_DIR
set -euo pipefail
export LC_ALL=C
lib="$1"; headers="$2"

declared() {  # $1: VORK_API or VORK_API_CXX
  grep -hE "^[[:space:]]*$1[[:space:]]" "$headers"/*.h \
    | sed -E 's/^([^(;[]*[^A-Za-z0-9_(;[])?([A-Za-z_][A-Za-z0-9_]*)[[:space:]]*[(;[].*/\2/' | sort -u
}
c_names=$(declared VORK_API)
cxx_names=$(declared VORK_API_CXX)

symbols=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | grep -v '^VORKCOMMC_' | sort -u)
plain=$(grep -v '^_Z' <<<"$symbols" || true)
mangled=$(grep '^_Z' <<<"$symbols" | c++filt || true)

# Each problem on a line of its own, named by its kind.
report() { sed -e '/^$/d' -e "s/^/$1: /"; }
problems=$(
  comm -23 <(echo "$plain") <(echo "$c_names") | report "exported but not declared"
  comm -13 <(echo "$plain") <(echo "$c_names") | report "declared but not exported"
  comm -13 <(sed -E 's/[([].*//' <<<"$mangled" | sort -u) <(echo "$cxx_names") | report "declared but not exported (decorated)"
  { grep -v 'vork::' <<<"$mangled" || true; } | while read -r sym; do
    grep -qx "${sym%%[([]*}" <<<"$cxx_names" || echo "$sym"
  done | report "exported but not declared"
)
if [ -n "$problems" ]; then echo "$problems"; exit 1; fi
echo "exports match the headers: $(wc -w <<<"$c_names") C names, $(wc -w <<<"$cxx_names") decorated names"
