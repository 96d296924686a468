#!/usr/bin/env bash
# Compares the shared library's exported dynamic symbols with the public
# headers:
#  - every VORK_API name is exported under its plain name;
#  - every VORK_API_CXX name is exported under a decorated name;
#  - every other exported symbol is a C++ symbol of namespace vork.
# usage: check_exports.sh LIBRARY HEADER_DIR
set -euo pipefail
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

problems=0
while read -r name; do
  [ -z "$name" ] && continue
  grep -qx "$name" <<<"$c_names" || { echo "exported but not declared: $name"; problems=1; }
done <<<"$plain"
while read -r name; do
  [ -z "$name" ] && continue
  grep -qx "$name" <<<"$plain" || { echo "declared but not exported: $name"; problems=1; }
done <<<"$c_names"
while read -r name; do
  [ -z "$name" ] && continue
  grep -qE "^$name(\(|\[)" <<<"$mangled" || { echo "declared but not exported (decorated): $name"; problems=1; }
done <<<"$cxx_names"
while read -r sym; do
  [ -z "$sym" ] && continue
  base=${sym%%(*}; base=${base%%[*}
  if grep -qx "$base" <<<"$cxx_names"; then continue; fi
  [[ "$sym" == *vork::* ]] || { echo "exported but not declared: $sym"; problems=1; }
done <<<"$mangled"

if [ "$problems" -ne 0 ]; then exit 1; fi
echo "exports match the headers: $(wc -w <<<"$c_names") C names, $(wc -w <<<"$cxx_names") decorated names"
