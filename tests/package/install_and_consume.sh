#!/usr/bin/env bash
# usage: install_and_consume.sh BUILD_DIR THIS_DIR [SANITIZERS]
# Installs BUILD_DIR into a temporary prefix, checks the installed tree, and
# runs a C consumer (pkg-config) and a C++ consumer (find_package) against
# the reference server installed in the same prefix.
set -euo pipefail
build="$1"; here="$2"; sanitize="${3:-}"
tmp=$(mktemp -d); server=""
cleanup() { [ -n "$server" ] && kill "$server" 2>/dev/null; wait 2>/dev/null; rm -rf "$tmp"; }
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

prefix="$tmp/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$(dirname "$(find "$prefix" -name 'libVORKCoreCommC.so' | head -1)")
[ -d "$libdir" ] || fail "no libVORKCoreCommC.so installed"

# The library with its SONAME and links, every public header, the tool.
[ "$(readlink "$libdir/libVORKCoreCommC.so")" = libVORKCoreCommC.so.1 ] || fail "dev link"
[ -f "$(readlink -f "$libdir/libVORKCoreCommC.so.1")" ] || fail "SONAME link"
readelf -d "$libdir/libVORKCoreCommC.so.1" | grep -q 'SONAME.*\[libVORKCoreCommC.so.1\]' || fail "SONAME"
(cd "$here/../../include" && find . -name '*.h' -o -name '*.hpp' | sort) >"$tmp/headers.src"
(cd "$prefix/include" && find . -name '*.h' -o -name '*.hpp' | sort) >"$tmp/headers.installed"
diff "$tmp/headers.src" "$tmp/headers.installed" || fail "installed headers differ from include/"
"$prefix/bin/vorkcomm" --version | grep -qx "vorkcomm [0-9.]*" || fail "installed vorkcomm --version"

flags=()
[ -n "$sanitize" ] && flags=("-fsanitize=$sanitize")
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:detect_leaks=0"

# The installed reference server, on 127.0.0.1.
echo secret >"$tmp/password"
mkdir "$tmp/files"
/usr/bin/python3 "$prefix/share/vorkcommc/refserver/refserver.py" --port 0 --port-file "$tmp/port" \
  --files "$tmp/files" --user agent --password-file "$tmp/password" >/dev/null 2>&1 &
server=$!
for _ in $(seq 300); do [ -s "$tmp/port" ] && break; sleep 0.1; done
[ -s "$tmp/port" ] || fail "reference server did not start"
url="http://127.0.0.1:$(cat "$tmp/port")"
success='<([A-Za-z0-9]+:)?code>0</'

# C through pkg-config (the .pc file finds its prefix from where it lies).
export PKG_CONFIG_PATH="$libdir/pkgconfig"
[ "$(pkg-config --variable=includedir VORKCoreCommC)" -ef "$prefix/include" ] || fail "pkg-config includedir"
# shellcheck disable=SC2046
cc -std=c99 -Wall -Werror "${flags[@]}" "$here/consumer.c" -o "$tmp/consumer_c" \
  $(pkg-config --cflags --libs VORKCoreCommC) -Wl,-rpath,"$libdir"
"$tmp/consumer_c" "$url" agent secret | grep -Eq "$success" || fail "C consumer's keep-alive"

# C++ through find_package: a call class and the message classes (C++20,
# which the exported target asks for).
cmake -S "$here/consumer" -B "$tmp/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_FLAGS="${flags[*]}" -DCMAKE_EXE_LINKER_FLAGS="${flags[*]}" >/dev/null
cmake --build "$tmp/consumer" >/dev/null
"$tmp/consumer/consumer" "$url" agent secret >"$tmp/consumer.out"
grep -Eq "$success" "$tmp/consumer.out" && grep -q " status 0$" "$tmp/consumer.out" || fail "C++ consumer's call class"
echo "installed tree, pkg-config and find_package consumers: ok"
