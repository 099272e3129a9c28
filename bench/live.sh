#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What playing live costs: `brumbler live` beside the bundle in jalv and beside guitarix's fuzzes, all in one jackd
# without a sound card, fed with the same sound at the same time.
#   bench/live.sh [PERIOD [SECONDS]]       default: 64 60; from the project's root, after a release build
# Prints the processor time of each client for each period, and the late periods of the server.
# Needs jackd2 and jalv; leaves guitarix's fuzzes out when guitarix-lv2 is not there.
set -euo pipefail
period=${1:-64} seconds=${2:-60} rate=48000
build=$PWD/build/release
[[ -n ${BRUMBLER_OWN_SHM:-} ]] || exec tests/ownShm.sh "$0" "$@"
export JACK_DEFAULT_SERVER=brumbler-bench JACK_NO_START_SERVER=1
work=$(mktemp -d)
mkdir "$work/lv2" && ln -s "$build/brumbler.lv2" "$work/lv2/"
export LV2_PATH=$work/lv2:/usr/lib/lv2
trap 'kill $(jobs -p) 2>/dev/null; wait; rm -rf "$work"' EXIT

jackd -R -n "$JACK_DEFAULT_SERVER" -d dummy -r $rate -p "$period" >"$work/jackd" 2>&1 &
jack_wait -w -t 10 >/dev/null 2>&1
jack_metro -b 240 >/dev/null 2>&1 &
sleep 1

declare -A process
names=()
start() {
  local name=$1 in=$2
  shift 2
  "$@" >"$work/$name" 2>&1 < <(sleep 100000) &
  process[$name]=$!
  names+=("$name")
  for _ in {1..50}; do
    jack_connect metro:240_bpm "$name:$in" 2>/dev/null && return
    sleep 0.1
  done
  echo "$name did not start: $(<"$work/$name")" >&2
  exit 1
}
start live in "$build/brumbler" live --name live --no-connect --fuzz 8
start jalv in jalv -n jalv -c fuzz=8 urn:brumbler:fuzz
while read -r plugin; do
  name=$(sed 's/.*#//; s/^_*//; s/_*$//' <<<"$plugin")
  start "$name" in jalv -n "$name" "$plugin"
done < <(lv2ls | grep -i 'guitarix.*fuzz' || true)

# Nanoseconds that all threads of a process have run.
ran() { cat /proc/"$1"/task/*/schedstat | awk '{sum += $1} END {printf "%.0f", sum}'; }
declare -A before
sleep 2
for name in "${names[@]}"; do before[$name]=$(ran "${process[$name]}"); done
sleep "$seconds"
echo "$period samples at $rate Hz, $((period * 1000000 / rate)) us a period, $seconds s"
for name in "${names[@]}"; do
  after=$(ran "${process[$name]}")
  awk -v name="$name" -v ns=$((after - ${before[$name]})) -v periods=$((seconds * rate / period)) -v s="$seconds" \
    'BEGIN {printf "%-24s %6.1f us a period, %4.1f %% of a processor\n", name, ns / 1000 / periods, ns / s / 1e7}'
done
kill -INT "${process[live]}"
wait "${process[live]}" || true
tail -1 "$work/live"
