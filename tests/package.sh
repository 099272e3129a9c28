#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian packages of this tree twice, in two folders, and uses what is in them; then the archive.
#   package.sh RELEASE-BUILD-FOLDER
# The packages' own tests are left out (nocheck): the release target has run the same ones.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly release=$PWD/${1:-build/release}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
fail() {
  echo "FAILED: $*"
  status=1
}
holds() { "${@:2}" || fail "$1"; }
nothing() { [[ -z $1 ]] || { echo "$1" && return 1; }; }

# Two builds of one tree: the same bytes. The compilers' cache would hide what a folder's name does.
for folder in one another-and-longer; do
  mkdir -p "$work/$folder/brumbler"
  git ls-files -z | xargs -0 cp --parents --no-dereference -t "$work/$folder/brumbler"
  (cd "$work/$folder/brumbler" && CCACHE_DISABLE=1 DEB_BUILD_OPTIONS="nocheck parallel=$(nproc)" \
    dpkg-buildpackage -Pnocheck -us -uc -b >"$work/$folder.log" 2>&1) || { tail -60 "$work/$folder.log" && exit 1; }
  # The archive of this build, too.
  (cd "$work/$folder" && umask 077 && cmake --build brumbler/obj-* --target archive >/dev/null && mv brumbler/obj-*/*.tar.gz .)
done
cd "$work/one"
for file in ./*.deb ./*.tar.gz; do
  holds "two builds give the same $file" cmp "$file" "$work/another-and-longer/$file"
done
holds "lintian finds nothing" lintian --no-tag-display-limit --fail-on error,warning ./*.changes

version=$(sed -n 's/^project(brumbler VERSION \([^ ]*\).*/\1/p' brumbler/CMakeLists.txt)
module=$(dpkg-deb -f brumbler-module_*.deb Depends)
holds "the module depends on the C library alone, not on: $module" grep -qx 'libc6 ([^,]*)' <<<"$module"

# Installed with dpkg into an empty root, for which the tests' own system stands in where libraries are needed.
root=$work/root
mkdir -p "$root"/{etc,var/lib/dpkg/{info,updates}}
touch "$root"/var/lib/dpkg/{status,available}
into_root() {
  fakeroot dpkg --root="$root" --force-script-chrootless --force-depends --log=/dev/null "$@" >"$work/dpkg.log" 2>&1 ||
    { cat "$work/dpkg.log" && return 1; }
}
holds "dpkg installs" into_root --install brumbler{,-lv2,-lv2-ui,-module}_*.deb
holds "the units' user is made" grep -q '^brumbler:' "$root/etc/passwd"
holds "removing stops the units" grep -q "deb-systemd-invoke stop .*'brumbler-live.service'" "$root/var/lib/dpkg/info/brumbler.prerm"
DPKG_ROOT=$root DPKG_MAINTSCRIPT_PACKAGE=brumbler fakeroot deb-systemd-helper enable brumbler-live.service >/dev/null
holds "a unit can be enabled" test -L "$root/etc/systemd/system/multi-user.target.wants/brumbler-live.service"

# Plays a riff with the command $1; its module has to lie in $2.
plays() {
  "$1" riff riff.wav --force >/dev/null && "$1" render riff.wav fuzzed.wav --force --fuzz 8 >/dev/null &&
    [[ $("$1" info --json) == *"\"version\": \"$version\""*"\"module\": \"$2/"* && $("$1" --version) == "brumbler $version" ]]
}
holds "the command finds its module and plays" plays "$root/usr/bin/brumbler" "$root/usr/lib"
sum=$(sha256sum <fuzzed.wav)
"$release/brumbler" render riff.wav fuzzed.wav --force --fuzz 8 >/dev/null
holds "distributions' flags change no sample" test "$sum" = "$(sha256sum <fuzzed.wav)"

share=$root/usr/share
# Where a document of the folder $1, or a unit, points at nothing.
broken_links() {
  (cd "$1" && grep -roE '\]\([^):#]+' --include=*.md . | while IFS= read -r link; do
    [[ -e $(dirname "${link%%:*}")/${link##*(} ]] || echo "$link"
  done)
  find "$root" -name '*.service' -exec sed -n 's/.*file:\([^ ]*\).*/\1/p' {} + | while read -r file; do
    [[ -e $root$file ]] || echo "$file"
  done
}
holds "the documents' and units' links hold" nothing "$(broken_links "$share/doc/brumbler")"
holds "the manual page has no fault" nothing "$(LC_ALL=C.UTF-8 MANROFFSEQ='' man --warnings -l "$share"/man/man1/brumbler.1.gz 2>&1 >/dev/null)"
completes() {
  bash -c 'source "$1" && COMP_WORDS=(brumbler rend) COMP_CWORD=1 && _brumbler "$2" && [[ ${COMPREPLY[*]} == render ]]' - \
    "$share/bash-completion/completions/brumbler" "$root/usr/bin/brumbler"
}
holds "bash completes" completes
if command -v zsh >/dev/null; then holds "zsh reads its completion" zsh -n "$share/zsh/vendor-completions/_brumbler"; fi
holds "the bundle's metadata are valid" appstreamcli validate --no-net --no-color "$share"/metainfo/*.xml
if command -v lv2_validate >/dev/null; then
  bundle=$(echo "$root"/usr/lib/*/lv2)
  holds "lv2ls lists both" test "$(LV2_PATH=$bundle lv2ls | wc -l)" = 2
  holds "lv2_validate" lv2_validate "$bundle"/*/[!m]*.ttl "$bundle"/*/manifest.ttl
fi
if command -v chromium >/dev/null; then
  page=$(chromium --headless --no-sandbox --disable-gpu --user-data-dir="$work/chromium" --virtual-time-budget=5000 \
    --dump-dom "file://$share/brumbler/brumbler.html" 2>/dev/null)
  holds "the page opens and the effect starts" grep -q '<p id="unable"[^>]* hidden' <<<"$page"
fi
readonly tested=${release%/*}/wasm/brumbler.html
if [[ -e $tested ]]; then
  cmake --build "${tested%/*}" --target brumbler_page >/dev/null
  holds "the page is the one that its own tests open" cmp "$share/brumbler/brumbler.html" "$tested"
fi

mkdir -p "$root/etc/default" && touch "$root/etc/default/brumbler"  # as docs/stompbox.md has the user do
holds "dpkg removes" into_root --purge brumbler brumbler-lv2-ui brumbler-lv2 brumbler-module
holds "nothing stays behind" nothing "$(find "$root" -not -type d -not -path "$root/var/*" -not -regex "$root/etc/\(passwd\|group\|g?shadow\|.pwd.lock\)-?")"

# The archive, unpacked to some folder.
cmake --build "$release" --target archive >"$work/package.log" || { cat "$work/package.log" && exit 1; }
mkdir "$work/some folder"
tar -xzf "$release"/brumbler-"$version"-Linux-*.tar.gz -C "$work/some folder" --strip-components=1
holds "the archive's command plays" plays "$work/some folder/bin/brumbler" "$work/some folder/lib"
holds "the archive has its licence and README" test -s "$work/some folder/LICENSE" -a -s "$work/some folder/README.md"
exit "$status"
