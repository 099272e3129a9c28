#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Holds the installed units of the stomp box to systemd's own check: units.sh BUILD
# Ends with status 77, skipped, without jackd or systemd.
set -euo pipefail
for program in jackd systemd-analyze; do
  command -v "$program" >/dev/null || { echo "SKIPPED: no $program" >&2; exit 77; }
done
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
cmake --install "$1" --prefix "$root" >/dev/null
# Installed elsewhere than it was built for: the units name the place they were built for.
units=("$root"/lib/systemd/system/brumbler-{jackd,live}.service)
grep -q '^ExecStart=/.*/bin/brumbler live --wait $BRUMBLER_OPTIONS$' "${units[1]}"
sed -i "s|^ExecStart=/.*/bin/brumbler |ExecStart=$root/bin/brumbler |; s|man:brumbler(1) ||" "${units[@]}"
told=$(systemd-analyze verify --man=no "${units[@]}" 2>&1) || { echo "$told" >&2; exit 1; }
[[ -z $told ]] || { echo "$told" >&2; exit 1; }
