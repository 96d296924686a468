#!/bin/sh
# Writes the manual page vorkcomm(1) from the tool's own help texts: the
# overview from `vorkcomm --help`, one entry per command from
# `vorkcomm COMMAND --help`.
# usage: manpage.sh VORKCOMM OUTPUT
set -eu
tool="$1"; out="$2"
include="$out.include"
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0"
{
  echo "[COMMANDS]"
  "$tool" --help | sed -n '/^commands:/,$p' | tail -n +2 | awk '{print $1}' | while read -r name; do
    echo ".TP"
    echo ".B $name"
    "$tool" "$name" --help | sed -e 's/\\/\\e/g' -e 's/-/\\-/g' -e 's/^\./\\\&./' -e 's/$/\n.br/'
  done
  echo "[ENVIRONMENT]"
  echo ".TP"
  echo ".B VORKCOMM_SERVER"
  echo "the server address when \\-\\-server is not given."
  echo ".TP"
  echo ".B http_proxy, https_proxy, no_proxy"
  echo "(also upper case) route every HTTP and HTTPS exchange through a proxy, as curl does."
} >"$include"
help2man --no-info --section=1 --name="command-line tool of libVORKCoreCommC" \
  --include="$include" --output="$out" "$tool"
rm -f "$include"
