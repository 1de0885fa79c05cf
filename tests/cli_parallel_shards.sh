#!/usr/bin/env bash
# A large job spread with GNU parallel: the file list split into shards, each
# a brisavane-cli run on a job slot, gives the same outputs as one run; a
# re-run with --skip-existing then writes nothing and succeeds.
# usage: cli_parallel_shards.sh BRISAVANE-CLI SAMPLES-FOLDER
set -euo pipefail
cli=$(realpath "$1")
samples=$(realpath "$2")
card=$samples/white_card.tif
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir subjects one sharded
for k in 1 2 3 4; do
    for f in "$samples"/subjects/*.tif; do cp "$f" "subjects/$k-$(basename "$f")"; done
done
ls subjects/*.tif >list
split -n l/3 list shard.

"$cli" equalize --white "$card" --output one --files-from list >one.txt
# ':' is this machine; 2/: gives it two job slots, as 2/host would elsewhere.
parallel --will-cite --sshlogin 2/: "$cli" equalize --white "$card" --output sharded \
    --files-from {} ::: shard.* >sharded.txt
[ "$(grep -c ': written ' sharded.txt)" -eq 8 ]
diff <(ls -A one) <(ls -A sharded)
for f in one/*; do cmp "$f" "sharded/${f#one/}"; done

touch -d '1 minute ago' sharded sharded/*
parallel --will-cite --sshlogin 2/: "$cli" equalize --white "$card" --output sharded \
    --skip-existing --files-from {} ::: shard.* >rerun.txt
[ "$(grep -c ': skipped: .* exists$' rerun.txt)" -eq 8 ]
[ -z "$(find sharded -newermt '30 seconds ago')" ]
diff <(ls -A one) <(ls -A sharded)

# After an interruption that lost one output, the re-run writes just that one.
rm sharded/3-chart_16bit_eq.tif
parallel --will-cite --sshlogin 2/: "$cli" equalize --white "$card" --output sharded \
    --skip-existing --files-from {} ::: shard.* >rerun.txt
[ "$(grep -c ': skipped: .* exists$' rerun.txt)" -eq 7 ]
[ "$(find sharded -type f -newermt '30 seconds ago')" = sharded/3-chart_16bit_eq.tif ]
cmp one/3-chart_16bit_eq.tif sharded/3-chart_16bit_eq.tif
echo "sharded run equal to the single run; re-runs wrote only what was missing"
