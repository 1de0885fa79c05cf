#!/usr/bin/env bash
# Makes the README's pictures of the correction modes from the samples in
# modes/: the subject scene.tif equalized in each mode by brisavane-cli, drawn
# by brisavane-cli analyze --preview as the window would show it.
#
#     samples/make_mode_pictures.sh build/cli/brisavane-cli docs
set -euo pipefail
cli=$(realpath "$1")
out=$(realpath "$2")
modes=$(dirname "$(realpath "$0")")/modes
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

picture() {  # name, then the options
    local name=$1
    shift
    mkdir "$work/$name"
    "$cli" equalize --white "$modes/white_card_a.tif" --output "$work/$name" "$@" \
        "$modes/subjects/scene.tif" >/dev/null
    "$cli" analyze "$work/$name/scene_eq.tif" --preview "$out/modes-$name.png" >/dev/null
}

"$cli" analyze "$modes/subjects/scene.tif" --preview "$out/modes-before.png" >/dev/null
picture default
picture rgb --channels rgb
picture smooth --smooth 12
picture max-gain --max-gain 1.15
picture linear --linear
picture two-shots --white "$modes/white_card_b.tif"
picture dark --dark "$modes/dark_frame.tif"
picture darken --darken --amount 50
picture all --channels rgb --smooth 12 --linear --white "$modes/white_card_b.tif" \
    --dark "$modes/dark_frame.tif"
