#!/usr/bin/env bash
# Installs what the project needs on a fresh Debian machine. Idempotent: it
# only calls apt-get when a package is missing. Run as root (or with sudo).
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config binutils
  clang libclang-rt-14-dev
  libcurl4-openssl-dev libxml2-dev libxml2-utils libssl-dev openssl
  libplist-dev libsqlite3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  nginx-light curl python3 python3-lxml
  libsystemd-dev libx11-dev libxrandr-dev xvfb x11-xserver-utils
  python3-pytest python3-setuptools tinyproxy doxygen help2man
  gnuplot-nox
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
