#!/usr/bin/env bash
# The C interface of gcuschema_document.dll from C programs built by MinGW,
# under Wine: the C test program's checks all pass, and the C host example
# prints what it prints on Linux (examples/c-host/expected_output.txt; the C
# runtime ends Windows lines with CR LF).
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

passed=0
failed=0

# The test program counts its own checks: "N checks passed, M failed".
output=$("${wine[@]}" "$test_exe" | tr -d '\r')
status=$?
summary=$(tail -n 1 <<<"$output")
if [[ $summary =~ ^([0-9]+)\ checks\ passed,\ ([0-9]+)\ failed$ ]]; then
  passed=$((passed + BASH_REMATCH[1]))
  failed=$((failed + BASH_REMATCH[2]))
  grep '^FAILED' <<<"$output" >&2
else
  echo "FAILED: the C test program ended without its count (exit status $status):" >&2
  tail -n 5 <<<"$output" >&2
  failed=$((failed + 1))
fi
if [ "$status" -ne 0 ] && [ "$failed" -eq 0 ]; then
  echo "FAILED: the C test program exited with $status" >&2
  failed=$((failed + 1))
fi

# The example prints the Linux host's lines.
host_output=$("${wine[@]}" "$host_exe" | tr -d '\r')
status=$?
if [ "$status" -eq 0 ] && [ "$host_output" == "$(cat "$expected")" ]; then
  passed=$((passed + 1))
else
  echo "FAILED: the C host (exit status $status) printed other lines than $expected:" >&2
  diff <(echo "$host_output") "$expected" >&2
  failed=$((failed + 1))
fi

mkdir -p "$(dirname "$result")"
printf '<testsuites tests="%d" failures="%d" disabled="0" errors="0" program="MinGW C host" unit="checks"/>\n' \
  $((passed + failed)) "$failed" >"$result"
echo "MinGW C host: $passed checks passed, $failed failed"
[ "$failed" -eq 0 ]
