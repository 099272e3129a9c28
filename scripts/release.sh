#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fills dist/ with what a download page would offer, built from what is committed: the page, the Debian packages, the
# archive for any GNU/Linux, the LV2 bundle for Linux and Windows, SHA256SUMS and a README that says which file is for whom.
#
#   scripts/release.sh [ARCHITECTURE...]     amd64, arm64 and armhf; all of them by default
#
# Everything is built in a bare Debian 12 (scripts/bare, which needs root), so that two runs from one commit give the same
# bytes. dist/ is replaced once all is built. Status 0, or 1 with a message if something could not be built.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly architectures=(amd64 arm64 armhf)

fail() {
  echo "scripts/release.sh: $*" >&2
  exit 1
}

# Fills ../dist, in the bare Debian.
build() {
  local architecture cores
  cores=$(nproc)
  export DEB_BUILD_OPTIONS="nocheck parallel=$cores" DEBIAN_FRONTEND=noninteractive
  mkdir ../dist
  apt-get -qq update
  apt-get -qq -y --no-install-recommends install build-essential g++-mingw-w64-x86-64-posix git >/dev/null
  apt-get -qq -y --no-install-recommends -Pnocheck build-dep ./ >/dev/null

  for architecture in "$@"; do
    if [[ $architecture == "$(dpkg --print-architecture)" ]]; then
      dpkg-buildpackage -Pnocheck -us -uc -b
    else
      dpkg --add-architecture "$architecture" && apt-get -qq update
      apt-get -qq -y --no-install-recommends install "crossbuild-essential-$architecture" >/dev/null
      apt-get -qq -y --no-install-recommends -a"$architecture" -Pcross,nocheck build-dep ./ >/dev/null
      dpkg-buildpackage -a"$architecture" -Pcross,nocheck -us -uc -b
    fi
  done
  mv ../*.deb ../dist/

  cmake --preset wasm -DBUILD_TESTING=OFF && cmake --build --preset wasm
  cp build/wasm/brumbler.html ../dist/
  cmake --preset release -DBUILD_TESTING=OFF && cmake --build --preset release --target archive
  cp build/release/brumbler-*.tar.gz ../dist/

  # The bundle by itself, from the archive, where it is stripped.
  local archive bundle
  archive=$(basename ../dist/brumbler-*.tar.gz .tar.gz)
  bundle=brumbler-lv2${archive#brumbler}
  tar -xzf "../dist/$archive.tar.gz" -C build
  mv "build/$archive/lib/lv2" "build/$bundle" && cp LICENSE "build/$bundle/"
  pack() { tar --sort=name --mtime="$date 00:00 UTC" --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX -czf "$@"; }
  local date
  date=$(sed -n 's/^set(BRUMBLER_RELEASE_DATE \([0-9-]*\).*/\1/p' CMakeLists.txt)
  pack "../dist/$bundle.tar.gz" -C build "$bundle"

  # The zip with its licences is part of that build.
  cmake --preset windows -DBUILD_TESTING=OFF && cmake --build --preset windows
  cp build/windows/brumbler-lv2-windows-*.zip ../dist/
}

if [[ ${1-} == --build ]]; then
  shift
  build "$@"
  exit
fi

(($#)) || set -- "${architectures[@]}"
for architecture in "$@"; do
  [[ " ${architectures[*]} " == *" $architecture "* ]] || fail "unknown architecture \"$architecture\"; there are: ${architectures[*]}"
done
git diff --quiet HEAD || echo "scripts/release.sh: changes that are not committed are left out of the release" >&2
system=$(mktemp -d "${TMPDIR:-/var/tmp}/brumbler-release.XXXXXX")
trap 'rm -rf --one-file-system "$system" dist.unfinished' EXIT
scripts/bare --keep "$system" 12 scripts/release.sh --build "$@" || fail "the build failed; dist/ is as it was"
rm -rf dist.unfinished && cp -r "$system/root/dist" dist.unfinished

version=$(sed -n 's/^project(brumbler VERSION \([^ ]*\).*/\1/p' CMakeLists.txt)
cat >dist.unfinished/README <<END
Brumbler $version, a fuzz for guitar and bass. Which file is for whom:

brumbler.html                    everybody: open it in a browser, nothing to install
brumbler-*-Linux-*.tar.gz        any GNU/Linux: unpack it and run bin/brumbler
brumbler-lv2-*.tar.gz            LV2 hosts on Linux, such as Ardour: unpack it into ~/.lv2
brumbler-lv2-*.zip               LV2 hosts on Windows: unpack it into %APPDATA%\\LV2
brumbler_*.deb                   Debian 12 and newer: the command, the page and the units of a stomp box
brumbler-module_*.deb            the module, which the command needs
brumbler-lv2_*.deb               the LV2 plug-ins, and brumbler-lv2-ui_*.deb their window
    *_amd64.deb for PCs, *_arm64.deb for 64-bit boards, *_armhf.deb for 32-bit boards:
    apt install ./brumbler_*_amd64.deb ./brumbler-module_*_amd64.deb

SHA256SUMS checks the download: sha256sum --check --ignore-missing SHA256SUMS
END
(cd dist.unfinished && sha256sum -- * >../dist.sums && mv ../dist.sums SHA256SUMS)
rm -rf dist && mv dist.unfinished dist
ls -l dist
