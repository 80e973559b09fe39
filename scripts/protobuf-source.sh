#!/usr/bin/env bash
# Unpacks the Debian source of the protobuf the build uses (the version of
# the installed libprotobuf-dev) into DIR/protobuf-<version>, once: the
# Windows runtime and the JSON conformance suite are built from it. Prints
# the source tree.
exec "$(dirname "$0")/debian-source.sh" "${1:?usage: protobuf-source.sh DIR}" libprotobuf-dev
