#!/usr/bin/env bash
# Times the gcuschema tool against protoc on the 100 000-input document, with
# hyperfine: decode to text, decode to expanded JSON (against protoc's text,
# the closest thing protoc offers), and encode from text.
# Usage: bench/tool_vs_protoc.sh BUILD_DIR OUT.json
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
out=$2
tool=$(realpath "$build/tools/gcuschema/gcuschema")
schemas=$(realpath config/protobuf)
data=$(realpath "$build/bench-data")
doc=$data/config_100000.bin
text=$data/config_100000.txt
runs=${TOOL_RUNS:-7}

"$tool" sample --inputs 100000 --seed 1 -o "$doc"
protoc --decode=ConfigData -I "$schemas" "$schemas/Config.proto" < "$doc" > "$text"

protoc_decode="protoc --decode=ConfigData -I $schemas $schemas/Config.proto < $doc > /dev/null"
# Each run starts with nothing waiting to be written to disk (the tool's
# encode makes its output durable; protoc's shell redirection does not).
hyperfine --style basic --prepare sync --warmup 1 --runs "$runs" --export-json "$out" \
  -n "gcuschema decode --format text" "$tool decode --format text $doc > /dev/null" \
  -n "protoc --decode" "$protoc_decode" \
  -n "gcuschema decode (expanded JSON)" "$tool decode $doc > /dev/null" \
  -n "gcuschema encode --format text" "$tool encode --format text $text -o $data/encoded_tool.bin" \
  -n "protoc --encode" "protoc --encode=ConfigData -I $schemas $schemas/Config.proto < $text > $data/encoded_protoc.bin"

# Both encoders must give the document's own bytes, or the timing means nothing.
cmp "$doc" "$data/encoded_tool.bin"
cmp "$doc" "$data/encoded_protoc.bin"
