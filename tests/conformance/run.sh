#!/usr/bin/env bash
# Runs protobuf's conformance runner against a testee and sums up what came
# of its binary and JSON suite: passed, failed outside the failure list,
# skipped. Exits non-zero when a test fails that the list does not name, or
# when the runner ends without a summary.
#
# The runner's own verdict is stricter (listed tests that pass, or that the
# testee skips, fail it too); those are only reported here: the list says
# what the runtime fails, and passing more than it is no fault. With
# --exact-list they fail the run too: for the runtime's own testee, which
# must fail exactly what the list says.
#
# usage: run.sh RUNNER TESTEE FAILURE_LIST OUT_DIR [--exact-list]
set -uo pipefail

runner=${1:?usage: run.sh RUNNER TESTEE FAILURE_LIST OUT_DIR [--exact-list]}
testee=${2:?}
list=${3:?}
out=${4:?}
exact=${5:-}
mkdir -p "$out"
log="$out/runner.log"

# Recommended tests count as the required ones do: without the flag, a
# failing recommended test is only a warning and appears in no count.
"$runner" --enforce_recommended --failure_list "$list" --output_dir "$out" "$testee" >"$log" 2>&1

summary_re='^CONFORMANCE SUITE (PASSED|FAILED): ([0-9]+) successes, ([0-9]+) skipped, ([0-9]+) expected failures, ([0-9]+) unexpected failures\.$'
mapfile -t summaries < <(grep -E "$summary_re" "$log")
if [ ${#summaries[@]} -eq 0 ]; then
  echo "conformance: the runner ended without a summary; the last lines of $log:" >&2
  tail -n 20 "$log" >&2
  exit 1
fi
counts() { sed -E "s/$summary_re/\2 \3 \4 \5/" <<<"$1"; }
read -r passed skipped expected failed < <(counts "${summaries[0]}")

# The runner's report of a suite ends in its summary line; the first one is
# the binary and JSON suite. Its lists of tests (of failures, ...) follow a
# heading, indented by two spaces.
first_suite() { awk -v re="$summary_re" '$0 ~ re {exit} {print}' "$log"; }
show() {  # show RUNNER_HEADING OUR_HEADING
  local names
  names=$(first_suite | awk -v h="$1" 'index($0, h) == 1 {on = 1; next}
    on && /^  [A-Z]/ {print; seen = 1; next}
    on && seen && /^$/ {exit}')
  [ -n "$names" ] || return 1
  echo "$2"
  echo "$names"
}
echo "binary and JSON suite: $passed passed, $failed failed, $skipped skipped," \
     "$expected failed as listed in $(basename "$list")"
show "These tests failed." "Failed, and not in the list:"
inexact=0
show "These tests succeeded, even though" "In the list, but passed (the runtime fails them, the testee does not):" &&
  inexact=1
show "These tests were listed in the failure list, but they don't exist." \
  "In the list, but not answered (skipped by the testee, or not in the suite):" && inexact=1
# The text format suite runs only when the runner passed the first one. Text
# format is no mapping of the library's (our testee skips all of it): shown,
# not judged.
if [ ${#summaries[@]} -gt 1 ]; then
  read -r t_passed t_skipped t_expected t_failed < <(counts "${summaries[1]}")
  echo "text format suite (not judged): $t_passed passed, $t_failed failed, $t_skipped skipped"
fi
echo "runner log (every failure with its request and response): $log"
echo "conformance: $passed passed, $failed failed, $skipped skipped"
if [ "$exact" = --exact-list ] && [ "$inexact" -eq 1 ]; then
  echo "conformance: $(basename "$list") does not name exactly the tests that fail" >&2
  exit 1
fi
[ "$failed" -eq 0 ]
