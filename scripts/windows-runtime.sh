#!/usr/bin/env bash
# Cross-builds what the Windows build links against and Debian ships only as
# source: the protobuf runtime (libprotobuf.dll, from the Debian source of the
# installed protobuf, so headers, runtime and the host's protoc are one
# version; no protoc, no zlib), simdjson for the JSON reader, pugixml for the
# HTML pages and {fmt} for the tool (static, from the Debian sources of the
# installed libsimdjson-dev, libpugixml-dev and libfmt-dev) and GoogleTest
# (static, from /usr/src/googletest).
# Both are installed into DIR/windows, once: a second run costs nothing. The
# headers and CMake package files of header-only libraries are copied there
# too, so that the cross build finds them without searching the host's /usr.
# Usage: scripts/windows-runtime.sh DIR (e.g. build-windows/_deps)
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
dir=$(mkdir -p "${1:?usage: windows-runtime.sh DIR}" && cd "$1" && pwd)
prefix="$dir/windows"
toolchain="$root/cmake/mingw-w64-x86_64.cmake"
jobs=${JOBS:-$(nproc)}

launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

# cross_build NAME VERSION SOURCE [CMAKE ARGS...]: configure, build and
# install into the prefix unless the stamp says this version is there already.
cross_build() {
  local name=$1 version=$2 source=$3
  shift 3
  local stamp="$prefix/.$name.installed"
  if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$version" ]; then
    return
  fi
  local start=$SECONDS
  echo "cross-building $name from $source" >&2
  cmake -S "$source" -B "$dir/$name-build" -G Ninja -Wno-dev \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$prefix" "${launcher[@]}" "$@" >"$dir/$name-configure.log"
  cmake --build "$dir/$name-build" -j "$jobs" >"$dir/$name-build.log" ||
    { tail -n 40 "$dir/$name-build.log" >&2; exit 1; }
  cmake --install "$dir/$name-build" >"$dir/$name-install.log"
  echo "$version" >"$stamp"
  echo "cross-built $name in $((SECONDS - start)) s" >&2
}

# stage_header_only PACKAGE: the package's headers and CMake files, copied
# into the prefix (their CMake files locate the headers relative to themselves).
stage_header_only() {
  local package=$1 file
  dpkg-query -L "$package" | grep -E '^/usr/(include|share/cmake|lib/cmake)/.+\.(h|hpp|cmake)$' |
    while read -r file; do
      mkdir -p "$prefix/$(dirname "${file#/usr/}")"
      cp -u "$file" "$prefix/${file#/usr/}"
    done
}

protobuf=$("$root/scripts/protobuf-source.sh" "$dir")
cross_build protobuf "$(dpkg-query -W -f='${Version}' libprotobuf-dev)" "$protobuf" \
  -Dprotobuf_BUILD_SHARED_LIBS=ON -Dprotobuf_BUILD_TESTS=OFF \
  -Dprotobuf_BUILD_PROTOC_BINARIES=OFF -Dprotobuf_WITH_ZLIB=OFF
# Without threads: the reader parses one document at a time, and the static
# library then needs nothing more from the toolchain.
simdjson=$("$root/scripts/debian-source.sh" "$dir" libsimdjson-dev)
cross_build simdjson "$(dpkg-query -W -f='${Version}' libsimdjson-dev)" "$simdjson" \
  -DBUILD_SHARED_LIBS=OFF -DSIMDJSON_DEVELOPER_MODE=OFF -DSIMDJSON_ENABLE_THREADS=OFF
pugixml=$("$root/scripts/debian-source.sh" "$dir" libpugixml-dev)
cross_build pugixml "$(dpkg-query -W -f='${Version}' libpugixml-dev)" "$pugixml" \
  -DBUILD_SHARED_LIBS=OFF -DPUGIXML_BUILD_TESTS=OFF
fmt=$("$root/scripts/debian-source.sh" "$dir" libfmt-dev)
cross_build fmt "$(dpkg-query -W -f='${Version}' libfmt-dev)" "$fmt" -DFMT_DOC=OFF -DFMT_TEST=OFF
cross_build googletest "$(dpkg-query -W -f='${Version}' googletest)" /usr/src/googletest -DBUILD_GMOCK=OFF
stage_header_only nlohmann-json3-dev
stage_header_only libcli11-dev
echo "$prefix"
