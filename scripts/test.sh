#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, builds for every target that this machine can build for, and runs the tests of each.
#
#   scripts/test.sh [--all] [TARGET...]
#
# Without a TARGET, it takes all of them: those that CMakePresets.json names, `web` (the page, preset `wasm`), `package`
# (the Debian packages and the archive, tests/package.sh) and `documents` (the commands in the documents,
# tests/documents.py). `release` comes first: the others compare their output with it.
#
# Status 0 if every test of every target passed. A target whose compiler, libraries or emulator cannot be installed is
# left out, and the last lines say so; with --all that is a failure, and so is a compiler's warning.
set -uo pipefail
cd "$(dirname "$0")/.." || exit
readonly targets=(release i386 armhf aarch64 windows web asan tsan fuzz package documents)

# The groups of scripts/setup that a target needs.
groups() {
  case "$1" in
    release) echo test ;;
    armhf | aarch64) echo arm ;;
    asan | tsan | fuzz) echo sanitizers ;;
    package) echo packages ;;
    documents) echo test web bench ;;
    *) echo "$1" ;;
  esac
}

# Prints what the compiler in $@ lacks to build a C++ program for a target; nothing if it lacks nothing.
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

lacks_program() {
  local program
  for program in "$@"; do command -v "$program" >/dev/null || echo "no $program"; done
}

# Installs what the page's tests need from npm, unless it is there.
fetch_packages() {
  [[ web/test/node_modules/.package-lock.json -nt web/test/package-lock.json ]] ||
    npm ci --prefix web/test --ignore-scripts --silent >/dev/null 2>&1
}

# Prints what this machine still lacks for a target, one item per line.
lacking() {
  lacks_program cmake ninja python3
  case "$1" in
    i386) lacks g++ -m32 ;;
    armhf) lacks clang++ --target=arm-linux-gnueabihf --ld-path=arm-linux-gnueabihf-ld && lacks_program qemu-arm ;;
    aarch64) lacks clang++ --target=aarch64-linux-gnu --ld-path=aarch64-linux-gnu-ld && lacks_program qemu-aarch64 ;;
    windows)
      lacks x86_64-w64-mingw32-g++-posix
      [[ -x /usr/lib/wine/wine64 ]] || lacks_program wine64
      ;;
    web)
      lacks clang++ --target=wasm32-wasi -fno-exceptions
      lacks_program llvm-ar node npm chromium
      fetch_packages || echo "npm cannot fetch what web/test/package.json asks for"
      ;;
    asan) lacks clang++ -fsanitize=address,undefined && lacks_program llvm-symbolizer ;;
    tsan) lacks clang++ -fsanitize=thread && lacks_program llvm-symbolizer ;;
    fuzz) lacks clang++ -fsanitize=address,undefined,fuzzer-no-link && lacks_program llvm-symbolizer ;;
    package)
      lacks_program dh lintian appstreamcli fakeroot man
      command -v dpkg-checkbuilddeps >/dev/null && dpkg-checkbuilddeps -P nocheck 2>&1
      ;;
  esac
}

# Runs $@ with its output in a file, which is shown only if it fails.
quietly() {
  local log="build/$1.log"
  shift
  "$@" >"$log" 2>&1 || {
    cat "$log"
    return 1
  }
}

tests=0
failures=0
# Adds the tests of a target to the two counts above.
count() {
  tests=$((tests + $1))
  failures=$((failures + $2))
}

build_release() { cmake --preset release && cmake --build --preset release --parallel "$(nproc)"; }

# The packages' command has to sound like that of the release build.
package_test() { quietly release-build build_release && tests/package.sh; }

# Runs $@, a target that is one test.
single_test() {
  "$@"
  local status=$?
  count 1 $((status != 0))
  return "$status"
}

run() {
  case "$1" in
    package) single_test package_test ;;
    documents) single_test tests/documents.py ;;
    *)
      quietly "$1-configure" cmake --preset "$1" "-DCMAKE_COMPILE_WARNING_AS_ERROR=${all:-no}" &&
        cmake --build --preset "$1" --parallel "$(nproc)" || {
        count 1 1
        return 1
      }
      local -r report=$PWD/build/$1-tests.xml
      ctest --preset "$1" --no-tests=error --output-junit "$report"
      local status=$?
      # shellcheck disable=SC2046  # two numbers
      count $(sed -n 's/^\ttests="\([0-9]*\)"$/\1/p; s/^\tfailures="\([0-9]*\)"$/\1/p' "$report")
      return "$status"
      ;;
  esac
}

all=
if [[ ${1-} == --all ]]; then
  all=yes
  shift
fi
for target in "$@"; do
  if [[ " ${targets[*]} " != *" $target "* ]]; then
    echo "scripts/test.sh: unknown target \"$target\"; there are: ${targets[*]}" >&2
    exit 2
  fi
done
mkdir -p build || exit 1
status=0
summary=()
for target in "${@:-${targets[@]}}"; do
  printf '\n== %s ==\n' "$target"
  started=$SECONDS
  # 3: the sources lack a package; what needs it says so below, or tests less.
  # shellcheck disable=SC2046  # several words
  scripts/setup $(groups "$target")
  installed=$?
  lack=$(lacking "$target")
  if [[ -z $lack && $installed -ne 0 && -n $all ]]; then lack="not all of its packages could be installed"; fi
  if [[ -n $lack ]]; then
    if [[ -n $all ]]; then status=1 && count 1 1; fi
    summary+=("$(printf '%-8s %s: %s' "$target" "${all:+FAILED, }left out" "${lack//$'\n'/, }")")
    continue
  fi
  ready=$SECONDS
  preset=${target/#web/wasm}
  if run "$preset"; then verdict=passed; else verdict=FAILED && status=1; fi
  sound=$(grep -hm 1 'same double' "build/$preset/Testing/Temporary/LastTest.log" 2>/dev/null)
  summary+=("$(printf '%-8s %s in %d s%s' "$target" "$verdict" $((SECONDS - ready)) "${sound:+; $sound}")")
  if ((ready - started > 9)); then summary[-1]+="; $((ready - started)) s to install what was missing"; fi
done

printf '\n'
printf '%s\n' "${summary[@]}"
((tests)) || status=1
# The summary, like ctest's.
((tests == 0)) || printf '\n%d%% tests passed, %d tests failed out of %d\n\nTotal time (real) = %d sec\n' \
  $((100 * (tests - failures) / tests)) "$failures" "$tests" "$SECONDS"
exit "$status"
