#!/usr/bin/env bash
# Runs the whole benchmark suite against a build tree and writes the results
# (JSON) and the summary table into bench/results/. Usage: bench/run.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
results=bench/results
data=$build/bench-data
tool=$build/tools/gcuschema/gcuschema
mkdir -p "$results" "$data"

"$tool" sample --inputs 1000 --seed 1 -o "$data/config_1000.bin"

echo "== library benchmarks (Google Benchmark)" >&2
"$build/bench/gcuschema_bench" \
  --benchmark_out="$results/benchmarks.json" --benchmark_out_format=json \
  --benchmark_min_time="${BENCH_MIN_TIME:-0.5}" >&2

echo "== load cost, fresh process per run" >&2
: > "$results/load.jsonl"
for _ in $(seq "${LOAD_RUNS:-21}"); do
  "$build/bench/gcuschema_load_probe" "$data/config_1000.bin" >> "$results/load.jsonl"
done

echo "== tool against protoc" >&2
bench/tool_vs_protoc.sh "$build" "$results/tool_vs_protoc.json" >&2

echo "== tool against buf convert" >&2
bench/tool_vs_buf.sh "$build" "$results/tool_vs_buf.json" "$results/tool_memory.json" "$results/json_floor.json" >&2

python3 bench/summarize.py "$results" > "$results/summary.md"
cat "$results/summary.md"
