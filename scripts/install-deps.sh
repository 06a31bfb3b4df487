#!/usr/bin/env bash
# Installs, through apt, whatever the build and the tests need and the machine lacks.
# Idempotent: packages already present are not touched.
set -euo pipefail

packages=(
    cmake g++ make pkg-config
    qtbase5-dev
    libgtest-dev googletest
    nlohmann-json3-dev zlib1g-dev
    xvfb xauth
    dpkg-dev file   # cpack -G DEB: dpkg-shlibdeps finds the package's dependencies
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo=()
[ "$(id -u)" -ne 0 ] && sudo=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -q
"${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
