#!/usr/bin/env bash
# Installs what is missing, builds for every target that this machine can build for, and runs the tests of each.
#
#   scripts/test.sh             all targets
#   scripts/test.sh TARGET...   only these, as CMakePresets.json names them; `web` is the page, built by `wasm`
#
# Status 0 when every test of every target passed. A target whose compiler, libraries or emulator are not to be had is
# left out, and the last lines say so. `release` comes first: the other targets compare their sound with its. `fuzz`
# looks for new faults, a minute long (tests/fuzz/README.md). `package` makes the Debian packages and the archive and
# uses them (tests/package.sh).
set -uo pipefail
cd "$(dirname "$0")/.."
readonly targets=(release i386 armhf aarch64 web asan tsan fuzz package)

scripts/setup test || exit 1

# Says what the compiler in $@ lacks to build a C++ program for a target, nothing when it lacks nothing.
lacks() {
  local program
  program=$(mktemp)
  if ! command -v "$1" >/dev/null; then
    echo "no $1"
  elif ! "$@" -x c++ -std=c++20 -o "$program" - 2>/dev/null <<<$'#include <vector>\nint main() { return 0; }'; then
    echo "$* cannot build a program here"
  fi
  rm -f "$program"
}

lacks_program() { command -v "$1" >/dev/null || echo "no $1"; }

# What the page's tests take from npm, unless it is there.
fetch_packages() {
  [[ web/test/node_modules/.package-lock.json -nt web/test/package-lock.json ]] ||
    npm ci --prefix web/test --ignore-scripts --silent >/dev/null 2>&1
}

lacking() {
  case "$1" in
    i386) lacks g++ -m32 ;;
    armhf) lacks clang++ --target=arm-linux-gnueabihf -fuse-ld=lld && lacks_program qemu-arm ;;
    aarch64) lacks clang++ --target=aarch64-linux-gnu -fuse-ld=lld && lacks_program qemu-aarch64 ;;
    web)
      lacks clang++ --target=wasm32-wasi -fno-exceptions
      for program in node npm chromium; do lacks_program "$program"; done
      fetch_packages || echo "npm cannot fetch what web/test/package.json asks for"
      ;;
    asan) lacks clang++ -fsanitize=address,undefined ;;
    tsan) lacks clang++ -fsanitize=thread ;;
    fuzz) lacks clang++ -fsanitize=address,undefined,fuzzer-no-link ;;
    package)
      for program in dh lintian appstreamcli fakeroot man; do lacks_program "$program"; done
      command -v dpkg-checkbuilddeps >/dev/null && dpkg-checkbuilddeps -P nocheck 2>&1
      ;;
  esac
}

# Runs $@ with its output in a file that is shown only when it fails.
quietly() {
  local log="build/$1.log"
  shift
  "$@" >"$log" 2>&1 || {
    cat "$log"
    return 1
  }
}

run() {
  if [[ $1 == package ]]; then
    tests/package.sh
    return
  fi
  quietly "$1-configure" cmake --preset "$1" &&
    cmake --build --preset "$1" --parallel "$(nproc)" &&
    ctest --preset "$1" --no-tests=error
}

mkdir -p build
status=0
summary=()
for target in "${@:-${targets[@]}}"; do
  lack=$(lacking "$target")
  if [[ -n $lack ]]; then
    summary+=("$(printf '%-8s left out: %s' "$target" "${lack//$'\n'/, }")")
    continue
  fi
  printf '\n== %s ==\n' "$target"
  started=$SECONDS
  preset=${target/#web/wasm}
  if run "$preset"; then verdict=passed; else verdict=FAILED && status=1; fi
  sound=$(grep -hm 1 'same double' "build/$preset/Testing/Temporary/LastTest.log" 2>/dev/null)
  summary+=("$(printf '%-8s %s in %d s%s' "$target" "$verdict" $((SECONDS - started)) "${sound:+; $sound}")")
done

printf '\n'
printf '%s\n' "${summary[@]}"
exit "$status"
