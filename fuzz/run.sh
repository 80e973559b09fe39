#!/usr/bin/env bash
# Runs each fuzz target built in <build-dir> for <seconds>, one after the
# other (they share the machine's cores), from the committed seeds under
# fuzz/corpus/<target>/. What a run adds to the corpus stays in
# <build-dir>/fuzz/corpus/<target>/; a crashing input is written to
# <build-dir>/fuzz/artifacts/ and fails the run.
#
# usage: fuzz/run.sh <build-dir> [seconds] [target...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?usage: fuzz/run.sh <build-dir> [seconds] [target...]}
seconds=${2:-60}
shift $(( $# < 2 ? $# : 2 ))
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  mapfile -t targets < "$build/fuzz/targets"
fi

status=0
for t in "${targets[@]}"; do
  [ -n "$t" ] || continue
  dict=fuzz/records.dict
  if [ -f "fuzz/$t.dict" ]; then dict="fuzz/$t.dict"; fi
  work="$build/fuzz/corpus/$t"
  artifacts="$build/fuzz/artifacts"
  log="$build/fuzz/$t.log"
  mkdir -p "$work" "$artifacts"
  echo "== $t: ${seconds}s, dictionary $dict"
  if "$build/fuzz/$t" -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 \
       -dict="$dict" -artifact_prefix="$artifacts/$t-" -print_final_stats=1 \
       "$work" "fuzz/corpus/$t" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "   $t: ${runs:-?} executions, no finding (log: $log)"
  else
    status=1
    echo "   $t: FAILED, see $log and $artifacts/"
    tail -n 40 "$log"
  fi
done
exit $status
