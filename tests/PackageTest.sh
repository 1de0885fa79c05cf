#!/bin/sh
# Builds the .deb from the build tree, unpacks it and starts both programs from
# the unpacked tree with nothing but PATH set, so that neither finds a file of
# the build or source tree. Usage: PackageTest.sh BUILD_DIR
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cpack --config "$1/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" || { cat "$work/cpack.log"; exit 1; }
deb=$(ls "$work"/out/brisavane_*.deb)
dpkg-deb -x "$deb" "$work/root"
fields=$(dpkg-deb -f "$deb")
echo "$fields"
for wanted in '^Maintainer: The Brisavane developers$' '^Section: graphics$' \
              '^Depends: .*libc6' '^Depends: .*libpng16-16' '^Depends: .*libqt6widgets6' \
              '^Description: Equalize lens and light falloff in TIFF images$'; do
    echo "$fields" | grep -q "$wanted" || { echo "missing: $wanted"; exit 1; }
done
for page in brisavane brisavane-cli; do
    gzip -t "$work/root/usr/share/man/man1/$page.1.gz" || { echo "no manual page $page.1.gz"; exit 1; }
done
run() { env -i PATH="$work/root/usr/bin:/usr/bin:/bin" "$@"; }
[ "$(run brisavane-cli --version)" = "brisavane-cli $(dpkg-deb -f "$deb" Version)" ]
# The window runs until the timeout ends it (124); anything else is a failure.
status=0
run QT_QPA_PLATFORM=offscreen timeout 3 brisavane || status=$?
[ "$status" -eq 124 ] || { echo "brisavane ended with $status"; exit 1; }
