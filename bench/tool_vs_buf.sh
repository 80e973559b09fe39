#!/usr/bin/env bash
# Times `gcuschema` against `buf convert` (the protobuf JSON mapping as a
# user would otherwise run it) on configuration documents of 100 and
# 100 000 inputs, whole processes, one thread, with hyperfine: binary to
# plain JSON and plain JSON back to binary; the tool's encode of expanded
# JSON; the tool's decode on one thread against two (beside two one-thread
# decodes run at once, the most two cores can give). In the same run: the
# floor of an encode (simdjson's walk of the same JSON and the runtime's
# parse of the same document, bench/json_floor.cc) and the peak memory of a
# decode and of encodes. buf comes from npm's @bufbuild/buf, installed into
# the build tree (a benchmark peer, not a dependency of the product).
# Usage: bench/tool_vs_buf.sh BUILD_DIR OUT.json MEMORY.json FLOOR.json
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
out=$2
memory_out=$3
floor_out=$4
tool=$(realpath "$build/tools/gcuschema/gcuschema")
floor=$(realpath "$build/bench/gcuschema_json_floor")
schemas=$(realpath config/protobuf)
data=$(realpath "$build/bench-data")
peers=$(realpath -m "$build/bench-peers")
runs=${TOOL_RUNS:-7}
small_runs=${SMALL_RUNS:-$((runs * 5))}
buf_version=${BUF_VERSION:-1.75.0}

buf=$peers/node_modules/.bin/buf
if [ ! -x "$buf" ] || [ "$("$buf" --version)" != "$buf_version" ]; then
  mkdir -p "$peers"
  npm install --prefix "$peers" --no-audit --no-fund --silent "@bufbuild/buf@$buf_version" >&2
fi

for n in 100 100000; do
  "$tool" sample --inputs "$n" --seed 1 -o "$data/config_$n.bin"
  "$tool" decode --no-expand -j 1 "$data/config_$n.bin" -o "$data/config_$n.json"
done
"$tool" decode -j 1 "$data/config_100000.bin" -o "$data/config_100000_expanded.json"
# buf must read what the tool writes as the same document, and write what
# the tool reads back as the same bytes, or the timings compare nothing.
for n in 100 100000; do
  "$buf" convert "$schemas" --type ConfigData --from "$data/config_$n.json#format=json" \
    --to "$data/buf_$n.bin#format=binpb"
  cmp "$data/config_$n.bin" "$data/buf_$n.bin"
  "$buf" convert "$schemas" --type ConfigData --from "$data/config_$n.bin#format=binpb" \
    --to "$data/buf_$n.json#format=json"
  "$tool" encode "$data/buf_$n.json" -o "$data/tool_from_buf_$n.bin"
  cmp "$data/config_$n.bin" "$data/tool_from_buf_$n.bin"
done

# The small document's commands take a few milliseconds each and are run
# more often: on a shared machine a few slow runs would otherwise move
# their median.
small=() large=()
for n in 100 100000; do
  batch=(
    -n "gcuschema decode --no-expand -j1 ($n inputs)"
    "$tool decode --no-expand -j 1 $data/config_$n.bin -o $data/out_$n.json"
    -n "buf convert binpb to json ($n inputs)"
    "$buf convert $schemas --type ConfigData --from $data/config_$n.bin#format=binpb --to $data/out_buf_$n.json#format=json"
    -n "gcuschema encode ($n inputs)"
    "$tool encode $data/config_$n.json -o $data/out_$n.bin"
    -n "buf convert json to binpb ($n inputs)"
    "$buf convert $schemas --type ConfigData --from $data/config_$n.json#format=json --to $data/out_buf_$n.bin#format=binpb"
  )
  if [ "$n" = 100 ]; then small+=("${batch[@]}"); else large+=("${batch[@]}"); fi
done
large+=(
  -n "gcuschema encode (100000 inputs, expanded)"
  "$tool encode $data/config_100000_expanded.json -o $data/out_100000_x.bin"
  -n "gcuschema decode --no-expand -j2 (100000 inputs)"
  "$tool decode --no-expand -j 2 $data/config_100000.bin -o $data/out_100000_j2.json"
  -n "gcuschema decode -j1 (100000 inputs, expanded)"
  "$tool decode -j 1 $data/config_100000.bin -o $data/out_100000_x1.json"
  -n "gcuschema decode -j2 (100000 inputs, expanded)"
  "$tool decode -j 2 $data/config_100000.bin -o $data/out_100000_x2.json"
)
# Started directly rather than through a shell: hyperfine's correction for
# a shell's start is of the order of a small document's whole decode. Each
# run starts with nothing waiting to be written to disk (sync, untimed): the
# tool makes its output durable before it replaces the old one, and that
# fsync waits behind whatever earlier runs (buf's among them) left unwritten.
hyperfine --style basic -N --prepare sync --warmup 3 --runs "$small_runs" --export-json "$out.small" "${small[@]}"
hyperfine --style basic -N --prepare sync --warmup 1 --runs "$runs" --export-json "$out.large" "${large[@]}"
# What two cores give at best: two single-threaded decodes side by side
# (through a shell, which runs them at once).
hyperfine --style basic --prepare sync --warmup 1 --runs "$runs" --export-json "$out.together" \
  -n "two gcuschema decode -j1 at once (100000 inputs, expanded)" \
  "$tool decode -j 1 $data/config_100000.bin -o $data/out_100000_a.json & $tool decode -j 1 $data/config_100000.bin -o $data/out_100000_b.json & wait"
python3 - "$out" "$out.small" "$out.large" "$out.together" <<'EOF'
import json, sys
results = {"results": []}
for name in sys.argv[2:]:
    with open(name) as f:
        results["results"] += json.load(f)["results"]
with open(sys.argv[1], "w") as f:
    json.dump(results, f, indent=2)
EOF
rm "$out.small" "$out.large" "$out.together"
cmp "$data/out_100000.json" "$data/out_100000_j2.json"
cmp "$data/out_100000_x1.json" "$data/out_100000_x2.json"
for n in 100 100000; do
  cmp "$data/config_$n.json" "$data/out_$n.json"
  cmp "$data/config_$n.bin" "$data/out_$n.bin"
done
cmp "$data/config_100000.bin" "$data/out_100000_x.bin"

# The least an encode of these bytes can cost, in one process: simdjson's
# walk of each JSON (plain and expanded) and the runtime's parse of the
# binary document into records.
"$floor" --runs "$runs" "$data/config_100000.bin" "$data/config_100000.json" \
  "$data/config_100000_expanded.json" > "$floor_out"

# Peak memory (maximum resident set) of a decode and of encodes, against
# their input and output sizes.
peak_kib() {
  { /usr/bin/time -f '%M' "$@"; } 2>&1 | tail -n 1
}
memory_entry() {  # NAME IN OUT PEAK_KIB
  printf '"%s": {"input_bytes": %d, "output_bytes": %d, "peak_kib": %d}' \
    "$1" "$(stat -c %s "$2")" "$(stat -c %s "$3")" "$4"
}
decode_peak=$(peak_kib "$tool" decode --no-expand -j 1 "$data/config_100000.bin" -o "$data/out_100000.json")
encode_peak=$(peak_kib "$tool" encode "$data/config_100000.json" -o "$data/out_100000.bin")
expanded_peak=$(peak_kib "$tool" encode "$data/config_100000_expanded.json" -o "$data/out_100000_x.bin")
{
  printf '{'
  memory_entry decode "$data/config_100000.bin" "$data/out_100000.json" "$decode_peak"
  printf ', '
  memory_entry encode "$data/config_100000.json" "$data/out_100000.bin" "$encode_peak"
  printf ', '
  memory_entry encode_expanded "$data/config_100000_expanded.json" "$data/out_100000_x.bin" "$expanded_peak"
  printf '}\n'
} > "$memory_out"
