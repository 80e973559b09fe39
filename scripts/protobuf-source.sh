#!/usr/bin/env bash
# Unpacks the Debian source of the protobuf the build uses (the version of
# the installed libprotobuf-dev) into DIR/protobuf-<version>, once: the
# Windows runtime and the JSON conformance suite are built from it. Adds a
# deb-src entry for bookworm main when apt has none. Prints the source tree.
set -euo pipefail

dir=${1:?usage: protobuf-source.sh DIR}
version=$(dpkg-query -W -f='${Version}' libprotobuf-dev)
upstream=${version#*:}
upstream=${upstream%-*}
tree="$dir/protobuf-$upstream"
if [ -f "$tree/.unpacked" ]; then
  echo "$tree"
  exit 0
fi

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
has_deb_src() {
  grep -rhs -E '^(deb-src|Types:.*deb-src)' /etc/apt/sources.list /etc/apt/sources.list.d/ | grep -q .
}
if ! has_deb_src; then
  echo "adding a deb-src entry for bookworm main" >&2
  # Signed as the binary entries are (apt refuses two keyrings for one source).
  printf '%s\n' "Types: deb-src" "URIs: http://deb.debian.org/debian" "Suites: bookworm" \
    "Components: main" "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg" |
    $sudo tee /etc/apt/sources.list.d/gcuschema-src.sources >/dev/null
  $sudo apt-get update -qq
fi
command -v dpkg-source >/dev/null || {
  $sudo apt-get install -y -qq --no-install-recommends dpkg-dev >&2
}

mkdir -p "$dir"
rm -rf "$tree"
# The exact version installed, so that what is built from the source is
# the runtime the headers and protoc come from.
(cd "$dir" && apt-get source -qq "protobuf=$version" >&2)
[ -d "$tree" ] || { echo "apt-get source did not give $tree" >&2; exit 1; }
touch "$tree/.unpacked"
echo "$tree"
