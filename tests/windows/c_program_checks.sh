# Sourced by the scripts that run C programs of the C interface under Wine:
# checks counted as passed or failed, and the count written where
# summary.cmake finds it. Windows lines end in CR LF; the CRs are dropped
# before output is compared. The scripts set -o pipefail, so that a
# program's exit status comes through the pipe that drops them.

passed=0
failed=0

pass() { passed=$((passed + 1)); }

# fail MESSAGE...: a failed check, said on standard error.
fail() {
  echo "FAILED: $*" >&2
  failed=$((failed + 1))
}

# count_checks_of WHAT COMMAND...: a program that counts its own checks and
# ends with "N checks passed, M failed"; its counts are added to these.
count_checks_of() {
  local what=$1 output status summary
  shift
  output=$("$@" | tr -d '\r')
  status=$?
  summary=$(tail -n 1 <<<"$output")
  if [[ $summary =~ ^([0-9]+)\ checks\ passed,\ ([0-9]+)\ failed$ ]]; then
    passed=$((passed + BASH_REMATCH[1]))
    failed=$((failed + BASH_REMATCH[2]))
    grep '^FAILED' <<<"$output" >&2
    if [ "$status" -ne 0 ] && [ "${BASH_REMATCH[2]}" -eq 0 ]; then
      fail "$what exited with $status"
    fi
  else
    fail "$what ended without its count (exit status $status):"
    tail -n 5 <<<"$output" >&2
  fi
}

# prints_lines_of EXPECTED WHAT COMMAND...: the program exits 0 having
# printed the lines of the file EXPECTED.
prints_lines_of() {
  local expected=$1 what=$2 output status
  shift 2
  output=$("$@" | tr -d '\r')
  status=$?
  if [ "$status" -eq 0 ] && [ "$output" == "$(cat "$expected")" ]; then
    pass
  else
    fail "$what (exit status $status) printed other lines than $expected:"
    diff <(echo "$output") "$expected" >&2
  fi
}

# write_count RESULT PROGRAM: the count as GoogleTest's XML results name
# their totals, in RESULT, and as the line "PROGRAM: N checks passed, M
# failed"; fails when a check failed.
write_count() {
  local result=$1 program=$2
  mkdir -p "$(dirname "$result")"
  printf '<testsuites tests="%d" failures="%d" disabled="0" errors="0" program="%s" unit="checks"/>\n' \
    $((passed + failed)) "$failed" "$program" >"$result"
  echo "$program: $passed checks passed, $failed failed"
  [ "$failed" -eq 0 ]
}
