#!/bin/sh
# SPDX-License-Identifier: MIT
# Plays the example riff, or the recording IN, through the fuzz, and draws what the fuzz does to it.
# Usage: scripts/demo.sh [IN]
set -eu
start=$PWD
cd "$(dirname "$0")/.."

case ${1-} in
  -h | --help) sed -n '3,4s/^# //p' scripts/demo.sh; exit 0 ;;
  "" | /*) in=${1-} ;;
  *) in=$start/$1 ;;
esac
if [ -n "$in" ] && [ ! -r "$in" ]; then
  echo "demo.sh: $1: cannot be read; check the name and its permissions" >&2
  exit 1
fi

scripts/setup
cmake --preset release -DBUILD_TESTING=OFF >/dev/null
cmake --build --preset release

brumbler=build/release/brumbler
mkdir -p out
if [ -z "$in" ]; then
  "$brumbler" riff out/dry.wav --force
  "$brumbler" render out/dry.wav out/fuzzed.wav --force
  more="--fuzz 10 --volume 7"
else
  # Recordings are mastered far above a guitar's own level; this removes the difference and restores it afterwards.
  "$brumbler" render "$in" out/dry.wav --off --no-tail --force
  "$brumbler" render "$in" out/fuzzed.wav --trim auto --force
  more="--trim auto --fuzz 10 --volume 7"
fi
"$brumbler" plot sounds out/dry.wav out/fuzzed.wav -o out/dry-and-fuzzed.png --force

cat <<END

  out/dry.wav              the sound as it came
  out/fuzzed.wav           the same through the fuzz
  out/dry-and-fuzzed.png   waves and spectra of both

Try next:
  more of it                 $brumbler render out/dry.wav out/hot.wav $more
  on your own playing        scripts/demo.sh YOUR-RECORDING.wav
  the presets                $brumbler info --presets
  all that the command does  $brumbler render --help
END
