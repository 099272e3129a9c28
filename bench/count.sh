#!/usr/bin/env bash
# Prints what a sample costs the effect and the plain chain on a processor, in instructions, loads and stores, counted
# exactly under QEMU:
#
#   bench/count.sh [TARGET [BLOCK LENGTH]...]
#
# TARGET: release (this machine's own, default), armhf or aarch64, as CMakePresets.json names them. Other flags or
# another compiler: configure build/TARGET with them first.
set -euo pipefail
cd "$(dirname "$0")/.."
target=${1:-release}
shift || true

case "$target" in
  release) emulator=(qemu-x86_64) ;;
  armhf) emulator=(qemu-arm -L /usr/arm-linux-gnueabihf) ;;
  aarch64) emulator=(qemu-aarch64 -L /usr/aarch64-linux-gnu) ;;
  *)
    echo "bench/count.sh: no target '$target'; take release, armhf or aarch64" >&2
    exit 2
    ;;
esac
command -v "${emulator[0]}" >/dev/null || {
  echo "bench/count.sh: no ${emulator[0]}; install qemu-user" >&2
  exit 1
}

build() {
  cmake --preset "$1" -DBRUMBLER_BENCH=ON >/dev/null
  cmake --build --preset "$1" --target "$2" >/dev/null
}
build release brumbler_counter
build "$target" brumbler_count

counters=$(mktemp)
trap 'rm -f "$counters"' EXIT
"${emulator[@]}" -plugin "build/release/brumbler_counter.so,counters=$counters" "build/$target/brumbler_count" "$counters" "$@"
