#!/usr/bin/env bash
# Installs the Debian packages that building, testing and trying TapDelay
# need, only those that are missing. Run as root (or with sudo available).
# With package names as arguments it installs those instead (the host checks
# fetch their hosts this way).
set -euo pipefail

PACKAGES=(
  cmake make ninja-build g++ pkg-config python3
  googletest libgtest-dev
  libsndfile1-dev libcairo2-dev libx11-dev libfontconfig-dev
  clang libclang-rt-14-dev
  libxtst-dev xvfb xauth xdotool x11-utils x11-xserver-utils valgrind
  lsp-plugins-vst zam-plugins
  lv2-dev lilv-utils liblilv-dev jalv jackd2 libjack-jackd2-dev lsp-plugins-lv2
  dpkg-dev help2man lintian
)
[ $# -eq 0 ] || PACKAGES=("$@")

missing=()
for package in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all ${#PACKAGES[@]} packages present"
  exit 0
fi

echo "setup: installing ${missing[*]}"
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
