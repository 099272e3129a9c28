#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a test in a /dev/shm of its own where the machine allows one:
#   ownShm.sh PROGRAM [ARGUMENT...]
# JACK counts its servers in /dev/shm for the whole machine, eight names at most, and one that was killed keeps its name
# there for ever.
own=(unshare --mount)
((EUID)) && own+=(--user --map-root-user)
if "${own[@]}" mount -t tmpfs own /dev/shm 2>/dev/null; then
  exec "${own[@]}" bash -c 'mount -t tmpfs own /dev/shm && exec "$0" "$@"' "$@"
fi
exec "$@"
