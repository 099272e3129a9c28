#!/usr/bin/env bash
# The command's cost beside the effect's own, for an hour of 16-bit mono: bench/command.sh [ROUNDS]
#
# Needs sox, and a build with -DBRUMBLER_BENCH=ON in build/release. Times all in turn, ROUNDS times (default 5), and
# divides the smallest: what interrupts a machine only adds time.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly build=$PWD/build/release rounds=${1:-5}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
"$build/brumbler" riff riff.wav >/dev/null
sox riff.wav -r 44100 -c 1 -b 16 hour.wav repeat 399 trim 0 3600
sox hour.wav -t raw hour.raw

# Keeps the smallest of the times that $@ takes in NAME: of the processor, and on the wall.
declare -A processor wall
TIMEFORMAT='%U %S %R'
measure() {
  local name=$1 taken
  shift
  rm -f out.wav
  taken=$({ time "$@" >/dev/null 2>&1; } 2>&1)
  read -r -a taken <<<"$taken"
  processor[$name]=$(awk "BEGIN {n = ${taken[0]} + ${taken[1]}; o = ${processor[$name]:-1e9}; print n < o ? n : o}")
  wall[$name]=$(awk "BEGIN {n = ${taken[2]}; o = ${wall[$name]:-1e9}; print n < o ? n : o}")
}

own=1e9
for ((i = 0; i < rounds; i++)); do
  once=$("$build/brumbler_effect_alone" "$build/brumbler.so" <hour.raw)
  own=$(awk "BEGIN {print $once < $own ? $once : $own}")
  measure one taskset -c 0 "$build/brumbler" render hour.wav out.wav --no-tail
  measure all "$build/brumbler" render hour.wav out.wav --no-tail
  measure sox sox hour.wav out.wav overdrive
done

row() { awk "BEGIN {printf \"%-28s %6.2f s %6.2f\\n\", \"$1\", $2, $2 / $own}"; }
row 'the effect alone' "$own"
row 'render, one core, processor' "${processor[one]}"
row 'render, all cores, processor' "${processor[all]}"
row 'render, all cores, wall' "${wall[all]}"
row 'sox overdrive, processor' "${processor[sox]}"
