#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the tools need, and
# only those that are missing. Uses sudo when not run as root.
# `install-deps.sh windows`: what the Windows build adds (the MinGW-w64 cross
# compiler and Wine to run its programs; clang, lld, llvm-dlltool and Wine's
# headers and import libraries of the Universal C Runtime, for the C programs
# built for the Visual C++ ABI; dpkg-dev, which unpacks Debian sources, is in
# the main list).
set -euo pipefail

packages=(
  cmake ninja-build g++ make pkg-config binutils dpkg-dev
  python3 python3-protobuf python3-jsonschema python3-pytest
  protobuf-compiler libprotobuf-dev
  googletest libgtest-dev
  libsimdjson-dev nlohmann-json3-dev libcli11-dev libfmt-dev libpugixml-dev
  libbenchmark-dev hyperfine
  help2man
  # The report tests render pages as a browser does.
  chromium fonts-dejavu-core
  clang-14 libclang-rt-14-dev llvm-14
)
if [ "${1:-}" = windows ]; then
  packages=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine64 clang-14 lld-14 llvm-14 libwine-dev)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
