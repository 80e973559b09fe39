#!/usr/bin/env bash
# The Windows tool (gcuschema.exe) under Wine, against the Linux tool: the
# same bytes out for the same document, its output files replaced whole
# through a temporary or not at all, and the same exit status and one-line
# message for bad input.
# Usage: tool_under_wine.sh GCUSCHEMA_EXE LINUX_GCUSCHEMA WORK_DIR RESULT WINE...
# WINE: the command that runs a Windows program (env WINEPREFIX=... wine64).
# RESULT: the count of checks passed and failed goes there, in the form of
# GoogleTest's XML results, for the closing count of `make test-windows`.
set -uo pipefail

usage="usage: tool_under_wine.sh GCUSCHEMA_EXE LINUX_GCUSCHEMA WORK_DIR RESULT WINE..."
exe=${1:?$usage}
linux=${2:?$usage}
work=${3:?$usage}
result=${4:?$usage}
shift 4
wine=("$@")
if [ ! -x "$linux" ]; then
  echo "no Linux tool at $linux: build it first (make build), or configure with -DGCUSCHEMA_LINUX_TOOL=" >&2
  exit 1
fi

passed=0
failed=0
pass() {
  echo "ok: $1"
  passed=$((passed + 1))
}
fail() {
  echo "FAILED: $1" >&2
  failed=$((failed + 1))
}
# check WHAT COMMAND...: passes when the command succeeds.
check() {
  local what=$1
  shift
  if "$@"; then pass "$what"; else fail "$what"; fi
}
win() { "${wine[@]}" "$exe" "$@"; }
# The names in a directory, hidden ones too, one line each.
entries() { (cd "$1" && ls -A | LC_ALL=C sort); }
inode() { stat -c %i "$1"; }

rm -rf "$work"
mkdir -p "$work"
cd "$work" || exit 1

# The documents: the tool's sample, and one of the values whose spelling
# differs most between C libraries (exponents, the smallest and largest
# floats and doubles, NaN and infinities, -0) with strings of every kind,
# CR LF and Ctrl-Z bytes among them (text-mode streams would change those).
"$linux" sample --inputs 24 -o sample.bin
cat >numbers.json <<'EOF'
{
  "@type": "ConfigData",
  "password": "pässwörd ✓\r\n\u001a",
  "inputs": [
    {"id": 1, "type": 3, "alias": "Ω-日本 \"q\" \\ \t \u0001 😀", "minValue": 1.4e-45, "maxValue": 3.4028235e+38,
     "config": {"@type": "PhonicWheelConfiguration",
                "referenceBpVoltage": [0.1, 1e+20, -2.5e-10, 123456789, 1.17549435e-38, 1e-40]}},
    {"id": 2, "minValue": "NaN", "maxValue": "-Infinity"}
  ],
  "outputs": [
    {"id": 1, "type": 3, "alias": "x", "minValue": 1e30,
     "config": {"@type": "CurrentConfiguration", "resistanceDouble": 1e-7, "resistanceMin": -0.0,
                "resistanceMax": 1.7976931348623157e308, "currentRangeDouble": 5e-324, "lambda": 0.1}}
  ],
  "estimationData": [
    {"thetaValues": [1e-300, 2.2250738585072014e-308, 1e+100, 0.3333333333333333, -1.5e-5, 123456789012345680]}
  ]
}
EOF
"$linux" encode -o numbers.bin numbers.json
for doc in sample numbers; do
  "$linux" decode -o "$doc.linux.json" "$doc.bin"
  "$linux" decode --format text -o "$doc.linux.txt" "$doc.bin"
done

# Same bytes as Linux.
for doc in sample numbers; do
  win decode -o "$doc.windows.json" "$doc.bin"
  check "decode of $doc.bin: JSON byte-identical to the Linux tool's" cmp "$doc.linux.json" "$doc.windows.json"
  # Read from standard input, written to standard output.
  win decode --format text - <"$doc.bin" >"$doc.windows.txt"
  check "decode --format text of $doc.bin: byte-identical to the Linux tool's" \
    cmp "$doc.linux.txt" "$doc.windows.txt"
done
win decode sample.bin | win encode >sample.roundtrip.bin
check "decode | encode of sample.bin: the input's bytes" cmp sample.bin sample.roundtrip.bin
win encode numbers.json >numbers.windows.bin
check "encode of numbers.json: the Linux tool's bytes" cmp numbers.bin numbers.windows.bin

# -o: a run killed outright (the Windows process ended at once, nothing of
# it runs) leaves its temporary, never a partial output file.
mkdir out
"$linux" sample --inputs 100000 -o big.bin
# wait_for_temporary PREFIX: the name of a temporary in out/ holding bytes.
wait_for_temporary() {
  local name
  for _ in $(seq 1 3000); do
    for name in $(cd out && ls -A); do
      if [[ $name == "$1"* ]] && [ -s "out/$name" ]; then
        echo "$name"
        return
      fi
    done
    sleep 0.01
  done
}
# (Started as it is, not through a function, so that $! is its process.)
"${wine[@]}" "$exe" decode -j 1 -o out/killed.json big.bin 2>/dev/null &
pid=$!
killed=$(wait_for_temporary .killed.json.gcuschema-)
kill -KILL "$pid"
# (The shell's note that the job was killed is not wanted.)
{ wait "$pid"; } 2>/dev/null
status=$?
check "a killed run leaves its temporary (${killed:-none seen}) and no output" \
  test -n "$killed" -a "$status" -eq 137 -a -s "out/$killed" -a ! -e out/killed.json

# -o replaces a file whole, by renaming a temporary over it: a new file
# (another inode) under the same name, UTF-8 names kept (Windows takes the
# arguments as UTF-16), and a dead run's temporary removed, another host's
# kept.
target="out/Ω-日本.bin"
printf 'older content, longer than what replaces it: %0200d' 0 >"$target"
other_host=".x.bin.gcuschema-another.host-8-Ab12Cd"
touch "out/$other_host"
before=$(inode "$target")
win encode -o "$target" numbers.json
check "-o replaces a file with the Linux tool's bytes" cmp numbers.bin "$target"
check "-o renames a new file over the old one" test "$before" != "$(inode "$target")"
check "-o leaves no temporary; the killed run's is removed, another host's kept" \
  test "$(entries out)" = "$(printf '%s\n' "$other_host" "Ω-日本.bin" | LC_ALL=C sort)"

# Through a symbolic link, the file it ends at is replaced and the link
# kept (Wine follows a Unix link and gives its target as the final path).
mkdir linked
echo old >linked/target.bin
ln -s target.bin linked/link.bin
win encode -o linked/link.bin numbers.json
link_kept_target_replaced() {
  test -L linked/link.bin && test "$(entries linked | tr '\n' ' ')" = "link.bin target.bin " &&
    cmp -s numbers.bin linked/target.bin
}
check "-o through a symbolic link replaces the file it ends at, keeps the link" link_kept_target_replaced

# -o naming the file a standard stream is open on writes through the
# stream, after what >> left there, and replaces nothing; standard input's
# file, open for reading only, is left as it is.
mkdir streams
printf 'log\n' >streams/run.log
before=$(inode streams/run.log)
win encode -o streams/run.log numbers.json 2>>streams/run.log
appended_through_stream() {
  test "$before" = "$(inode streams/run.log)" && { printf 'log\n'; cat numbers.bin; } | cmp -s - streams/run.log
}
check "-o naming the file standard error is open on (2>>) appends through the stream" appended_through_stream
echo keep >streams/in.bin
win sample -o streams/in.bin <streams/in.bin 2>streams/in.err
status=$?
check "-o naming standard input's file: exit 2, the file kept" \
  test "$status" -eq 2 -a "$(cat streams/in.bin)" = keep -a "$(grep -c 'is the file standard input is open on' streams/in.err)" -eq 1

# An input read from standard input is not replaced by the output.
cp numbers.json streams/x.json
win encode -o streams/x.json <streams/x.json 2>streams/x.err
status=$?
input_refused_and_kept() {
  test "$status" -eq 2 && grep -q 'is the input, read from standard input' streams/x.err &&
    cmp -s numbers.json streams/x.json
}
check "encode -o naming the file standard input reads: exit 2, the input kept" input_refused_and_kept

# Ctrl-C (Wine turns SIGINT into the console's Ctrl-C event) removes the
# temporary at once; the file keeps its old content. The process ends with
# STATUS_CONTROL_C_EXIT, 0xC000013A, of which a Linux parent sees the low
# byte, 0x3A.
echo old >out/interrupted.json
"${wine[@]}" "$exe" decode -j 1 -o out/interrupted.json big.bin 2>/dev/null &
pid=$!
interrupted=$(wait_for_temporary .interrupted.json.gcuschema-)
kill -INT "$pid"
wait "$pid"
status=$?
check "Ctrl-C while writing (${interrupted:-no temporary seen}) removes the temporary, keeps the file" \
  test -n "$interrupted" -a ! -e "out/$interrupted" -a "$(cat out/interrupted.json)" = old -a "$status" -eq 58
rm -f out/interrupted.json

# A run that fails once its temporary exists (a NaN with a payload, which
# text format cannot spell) leaves the file as it was, and no temporary.
printf '\x1a\x05\x45\x01\x00\xc0\x7f' >nan.bin
echo old >out/nan.txt
win decode --format text -o out/nan.txt nan.bin 2>/dev/null
status=$?
check "a run failing while writing exits 2, replaces nothing, leaves no temporary" \
  test "$status" -eq 2 -a "$(cat out/nan.txt)" = old -a "$(entries out | grep -c gcuschema-)" -eq 1

# Bad input: exit status 2, nothing on standard output, one line on
# standard error, the Linux tool's line (Windows ends it with CR LF).
printf '\xff\xff\xff' >bad.bin
win decode bad.bin >bad.out 2>bad.err
status=$?
"$linux" decode bad.bin 2>bad.linux.err
check "bad input: exit 2, nothing written, the Linux tool's one line" \
  test "$status" -eq 2 -a ! -s bad.out -a "$(wc -l <bad.err)" -eq 1 -a "$(tr -d '\r' <bad.err)" = "$(cat bad.linux.err)"

# Files not to be replaced: read-only (Wine shows a file without write
# permission as FILE_ATTRIBUTE_READONLY) and another user's (Wine gives a
# file of another Unix user another owner).
echo old >out/readonly.bin
chmod a-w out/readonly.bin
win sample -o out/readonly.bin 2>readonly.err
status=$?
check "a read-only file is not replaced: exit 2, says attrib -r" \
  test "$status" -eq 2 -a "$(cat out/readonly.bin)" = old -a "$(grep -c 'attrib -r' readonly.err)" -eq 1
echo old >out/others.bin
if chown nobody out/others.bin 2>/dev/null; then
  win sample -o out/others.bin 2>others.err
  status=$?
  check "another user's file is not replaced: exit 2" \
    test "$status" -eq 2 -a "$(cat out/others.bin)" = old -a "$(grep -c 'belongs to user' others.err)" -eq 1
else
  echo "skipped: another user's file (only root can give a file to another user)"
fi

# Binary data to a console is refused. `script` gives Wine a terminal, on
# which Wine makes the console the tool sees.
if command -v script >/dev/null; then
  script -qec "$(printf '%q ' "${wine[@]}" "$exe") sample" /dev/null >console.out 2>&1
  status=$?
  check "binary to a console: exit 2, refused" \
    test "$status" -eq 2 -a "$(grep -c 'refusing to write binary data to a terminal' console.out)" -eq 1
else
  echo "skipped: binary to a console (no script(1) to give Wine a terminal)"
fi

mkdir -p "$(dirname "$result")"
printf '<testsuites tests="%d" failures="%d" disabled="0" errors="0"/>\n' $((passed + failed)) "$failed" >"$result"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
