#!/usr/bin/env bash
# Unpacks the Debian source of an installed package, of the installed
# version, into DIR/<source>-<version>, once: what the Windows build needs
# from Debian and Debian has no MinGW build of is built from it. Adds a
# deb-src entry for bookworm main when apt has none. Prints the source tree.
# Usage: scripts/debian-source.sh DIR PACKAGE (e.g. libprotobuf-dev)
set -euo pipefail

dir=${1:?usage: debian-source.sh DIR PACKAGE}
package=${2:?usage: debian-source.sh DIR PACKAGE}
source=$(dpkg-query -W -f='${source:Package}' "$package")
version=$(dpkg-query -W -f='${Version}' "$package")
upstream=${version#*:}
upstream=${upstream%-*}
tree="$dir/$source-$upstream"
if [ -f "$tree/.unpacked" ]; then
  echo "$tree"
  exit 0
fi

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
# (grep fails on a missing sources.list, which pipefail would count.)
has_deb_src() {
  { grep -rhs -E '^(deb-src|Types:.*deb-src)' /etc/apt/sources.list /etc/apt/sources.list.d/ || true; } |
    grep -q .
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
# what the headers (and protoc) on this machine come from.
(cd "$dir" && apt-get source -qq "$source=$version" >&2)
[ -d "$tree" ] || { echo "apt-get source did not give $tree" >&2; exit 1; }
touch "$tree/.unpacked"
echo "$tree"
