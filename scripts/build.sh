#!/usr/bin/env bash
# Configures and builds one flavour of the project.
#   scripts/build.sh [release|asan|tsan] [ninja targets...]
set -euo pipefail
cd "$(dirname "$0")/.."
flavour="${1:-release}"; shift || true
case "$flavour" in
  release) args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
  asan)    args=(-DCMAKE_BUILD_TYPE=Debug -DVORK_SANITIZE=address,undefined -DVORK_BUILD_BENCH=OFF) ;;
  tsan)    args=(-DCMAKE_BUILD_TYPE=Debug -DVORK_SANITIZE=thread -DVORK_BUILD_BENCH=OFF) ;;
  fuzz)    args=(-DCMAKE_BUILD_TYPE=Debug -DVORK_BUILD_FUZZ=ON -DVORK_BUILD_TESTS=OFF -DVORK_BUILD_BENCH=OFF
                 -DVORK_BUILD_TOOLS=OFF -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++) ;;
  *) echo "unknown flavour $flavour" >&2; exit 2 ;;
esac
# A compiler cache, when the machine has one, shared by every checkout of the
# project (paths are taken relative to the checkout).
if command -v ccache >/dev/null 2>&1; then
  export CCACHE_BASEDIR="$PWD"
  args+=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
dir="build/$flavour"
cmake -S . -B "$dir" -G Ninja "${args[@]}" >/dev/null
ninja -C "$dir" -j"$(nproc)" "$@"
