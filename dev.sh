#!/usr/bin/env bash
# Sets up what a fresh Debian 12 machine lacks, builds, and then either starts
# the desktop program (./dev.sh run), runs every test (./dev.sh test) or
# measures how much of the code the tests reach (./dev.sh coverage).
set -euo pipefail
cd "$(dirname "$0")"

# Options and JSON (CLI11, nlohmann-json), the card report's colour and the
# correction modes' tone curves (LittleCMS; the samples' maker loads it too),
# PNG writing, the icon's sizes, and making and checking the .deb
# (dpkg-shlibdeps needs `file`); GNU parallel for the sharded-run test; the
# record of a correction in a copy's XMP history (Exiv2 parses and writes the
# packet, OpenSSL's libcrypto gives the SHA-256 of the card it names).
PACKAGES=(cmake ninja-build g++ python3 libgtest-dev libtiff-dev libtiff-tools zlib1g-dev
          qt6-base-dev libgl-dev xvfb xauth libcli11-dev nlohmann-json3-dev parallel
          liblcms2-dev libpng-dev librsvg2-bin dpkg-dev file desktop-file-utils appstream
          gcovr libexiv2-dev libssl-dev)

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

# The window needs a display; say how to get one rather than fail inside Qt.
require_display() {
    if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
        echo "No display: neither DISPLAY nor WAYLAND_DISPLAY is set." >&2
        echo "Start the program on a virtual one with:  xvfb-run ./build/app/brisavane" >&2
        exit 1
    fi
}

build() {
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release
    cmake --build build
}

# The same tests again in a build with AddressSanitizer and
# UndefinedBehaviorSanitizer, so that a stray read or write fails loudly. This
# build also leaves out the loops written for particular processors, so the
# plain loops that every other processor runs are built and tested each time.
sanitized_tests() {
    cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRISAVANE_SANITIZE=ON \
        -DBRISAVANE_PLAIN_LOOPS=ON
    cmake --build build-asan
    ASAN_OPTIONS=abort_on_error=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        ctest --test-dir build-asan --output-on-failure -j "$(nproc)"
}

# Line and branch coverage of the code the tests reach, from an unoptimised
# build so that every source line keeps its own instructions. Branches the
# compiler adds for exceptions and code it can prove unreachable are left out:
# no test could take them. The per-file table shows what each test earns.
# Counters are updated atomically: jobs run on several threads, and racing
# updates would leave counts gcovr refuses.
coverage() {
    cmake -S . -B build-coverage -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBRISAVANE_APP=ON \
        -DCMAKE_CXX_FLAGS="-O0 -g --coverage -fprofile-update=atomic" -DCMAKE_EXE_LINKER_FLAGS="--coverage"
    cmake --build build-coverage
    find build-coverage -name '*.gcda' -delete
    ctest --test-dir build-coverage --output-on-failure -j "$(nproc)"
    local filters=()
    for dir in platform tiff equalize whitecard cli app; do
        filters+=(--filter "$PWD/$dir/")
    done
    gcovr --root . --object-directory build-coverage "${filters[@]}" \
        --exclude-unreachable-branches --exclude-throw-branches \
        --json build-coverage/coverage.json
    gcovr --add-tracefile build-coverage/coverage.json --sort-percentage
    gcovr --add-tracefile build-coverage/coverage.json --branches --sort-percentage --print-summary
}

case "${1:-}" in
    run)
        install_missing
        build
        require_display
        exec build/app/brisavane
        ;;
    test)
        install_missing
        build
        ctest --test-dir build --output-on-failure -j "$(nproc)"
        sanitized_tests
        ;;
    coverage)
        install_missing
        coverage
        ;;
    *)
        echo "usage: $0 run|test|coverage" >&2
        exit 2
        ;;
esac
