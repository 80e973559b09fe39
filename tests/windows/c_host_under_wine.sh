#!/usr/bin/env bash
# The C interface of gcuschema_document.dll from C programs built by MinGW,
# under Wine: the C test program's checks all pass, and the C host example
# prints what it prints on Linux (examples/c-host/expected_output.txt).
# Usage: c_host_under_wine.sh C_TEST_EXE C_HOST_EXE EXPECTED_OUTPUT RESULT WINE...
# RESULT: the count of checks passed and failed goes there, in the form of
# GoogleTest's XML results, for the closing count of `make test-windows`.
set -uo pipefail

usage="usage: c_host_under_wine.sh C_TEST_EXE C_HOST_EXE EXPECTED_OUTPUT RESULT WINE..."
test_exe=${1:?$usage}
host_exe=${2:?$usage}
expected=${3:?$usage}
result=${4:?$usage}
shift 4
wine=("$@")

source "$(dirname "$0")/c_program_checks.sh"

count_checks_of "the C test program" "${wine[@]}" "$test_exe"
prints_lines_of "$expected" "the C host" "${wine[@]}" "$host_exe"

write_count "$result" "MinGW C host"
