#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs, through apt, whatever the build and the tests need and the machine lacks.
# Idempotent: packages already present are not touched.
#   scripts/install-deps.sh [--qt6] [--browser]
#     --qt6      Qt 6 instead of Qt 5
#     --browser  also Chromium, for the test that renders the HTML quality report
set -euo pipefail

# Qt Core, Gui and Widgets with moc and the GL headers their CMake files ask for; the
# offscreen and X11 platform plugins come with the Gui runtime package.
qt=qtbase5-dev
extra=()
for arg in "$@"; do
    case "$arg" in
        --qt6) qt=qt6-base-dev ;;
        --browser) extra+=(chromium) ;;
        *) echo "usage: scripts/install-deps.sh [--qt6] [--browser]" >&2; exit 2 ;;
    esac
done

packages=(
    cmake g++ make pkg-config
    "$qt"
    libgtest-dev googletest
    nlohmann-json3-dev zlib1g-dev
    xvfb xauth
    dpkg-dev file   # cpack -G DEB: dpkg-shlibdeps finds the package's dependencies
    ${extra[@]+"${extra[@]}"}
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
