#!/usr/bin/env bash
# Builds the Debian package build/vorkcommc_VERSION_ARCH.deb with CPack from
# the install rules (a release build for the prefix /usr in build/package,
# with the reference manual when scripts/docs.sh made it).
#   scripts/package.sh           build the package
#   scripts/package.sh --check   build it, install it with apt-get, run
#                                vorkcomm --version, remove it and check that
#                                none of its files is left (needs root)
set -euo pipefail
cd "$(dirname "$0")/.."
args=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr -DVORK_BUILD_TESTS=OFF -DVORK_BUILD_BENCH=OFF)
if command -v ccache >/dev/null 2>&1; then
  export CCACHE_BASEDIR="$PWD"
  args+=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B build/package -G Ninja "${args[@]}" >/dev/null
ninja -C build/package -j"$(nproc)" >/dev/null
rm -f build/package/*.deb
(cd build/package && cpack -G DEB >/dev/null)
deb=$(ls build/package/vorkcommc_*.deb)
cp "$deb" build/
deb="build/$(basename "$deb")"
echo "package: $deb"
dpkg-deb -f "$deb" Depends
dpkg-deb -c "$deb" | grep 'man1/vorkcomm.1' >/dev/null || { echo "no manual page in the package" >&2; exit 1; }

[ "${1:-}" = "--check" ] || exit 0
SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get install -y -qq "./$deb" >/dev/null
files=$(dpkg -L vorkcommc | while read -r f; do [ -f "$f" ] || [ -L "$f" ] && echo "$f"; done)
vorkcomm --version
$SUDO apt-get remove -y -qq vorkcommc >/dev/null
left=0
while read -r f; do
  if [ -e "$f" ] || [ -L "$f" ]; then echo "left behind: $f" >&2; left=1; fi
done <<<"$files"
[ "$left" -eq 0 ] && echo "installed, ran vorkcomm --version, removed: $(wc -l <<<"$files") files gone"
exit "$left"
