#!/usr/bin/env bash
# Sets up what a fresh Debian 12 machine lacks, builds, and then either starts
# the program (./dev.sh run) or runs every test (./dev.sh test).
set -euo pipefail
cd "$(dirname "$0")"

PACKAGES=(cmake ninja-build g++ python3 libgtest-dev libtiff-dev libtiff-tools zlib1g-dev
          qt6-base-dev libgl-dev xvfb xauth)

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

install_missing() {
    local missing=()
    for pkg in "${PACKAGES[@]}"; do
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" ||
            missing+=("$pkg")
    done
    if [ ${#missing[@]} -gt 0 ]; then
        echo "Installing: ${missing[*]}"
        as_root apt-get update -qq
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}"
    fi
}

build() {
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release
    cmake --build build
}

case "${1:-}" in
    run)
        install_missing
        build
        exec build/cli/brisavane-cli analyze samples/white_card.tif
        ;;
    test)
        install_missing
        build
        ctest --test-dir build --output-on-failure -j "$(nproc)"
        ;;
    *)
        echo "usage: $0 run|test" >&2
        exit 2
        ;;
esac
