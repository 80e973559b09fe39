#!/usr/bin/env bash
# The C interface of gcuschema_document.dll (built by MinGW) from C programs
# built for the Visual C++ ABI against the Universal C Runtime
# (tests/windows/msvc-host), under Wine:
# - each program imports from ucrtbase.dll and gcuschema_document.dll alone:
#   no MinGW runtime (msvcrt.dll, libgcc, libwinpthread) is in it;
# - every check of the C test program (tests/c) passes;
# - the C host example prints what it prints on Linux;
# - given files on its command line (the tool's sample document, and its
#   JSON with an alias edited), the example writes what the same example
#   built by MinGW writes, on standard output and standard error, encodes
#   the sample to as many bytes as the file holds and finds the edit; given
#   a broken document, both fail alike, naming the file, line and column.
# Usage: msvc_c_host_under_wine.sh C_TEST_EXE C_HOST_EXE MINGW_C_HOST_EXE TOOL_EXE EXPECTED_OUTPUT
#                                  OBJDUMP WORK RESULT WINE...
set -uo pipefail

usage="usage: msvc_c_host_under_wine.sh C_TEST_EXE C_HOST_EXE MINGW_C_HOST_EXE TOOL_EXE EXPECTED_OUTPUT"
usage+=" OBJDUMP WORK RESULT WINE..."
test_exe=${1:?$usage}
host_exe=${2:?$usage}
mingw_host_exe=${3:?$usage}
tool_exe=${4:?$usage}
expected=${5:?$usage}
objdump=${6:?$usage}
work=${7:?$usage}
result=${8:?$usage}
shift 8
wine=("$@")

source "$(dirname "$0")/c_program_checks.sh"

for exe in "$test_exe" "$host_exe"; do
  imports=$("$objdump" -p "$exe" | sed -n 's/^\tDLL Name: //p' | tr 'A-Z' 'a-z' | sort -u | paste -sd ' ')
  if [ "$imports" == "gcuschema_document.dll ucrtbase.dll" ]; then
    pass
  else
    fail "$(basename "$exe") imports from ${imports:-nothing}, not from gcuschema_document.dll and ucrtbase.dll alone"
  fi
done

count_checks_of "the C test program" "${wine[@]}" "$test_exe"
prints_lines_of "$expected" "the C host" "${wine[@]}" "$host_exe"

# Files named on the command line, relative to the current directory: Wine
# reads an absolute Unix path as one on the current drive.
rm -rf "$work"
mkdir -p "$work"
cd "$work" || exit 1
"${wine[@]}" "$tool_exe" sample --inputs 24 -o sample.bin >/dev/null &&
  "${wine[@]}" "$tool_exe" decode sample.bin -o sample.json >/dev/null ||
  { fail "the tool did not write the sample document"; write_count "$result" "MSVC-ABI C host"; exit 1; }
sed '0,/"alias": "/s//"alias": "Edited /' sample.json >edited.json
printf '{\n  "inputs": [{"id": "one"}]\n}\n' >broken.json

# run_both NAME ARGUMENTS...: each host on the arguments; their standard
# output, standard error and exit status in NAME.{msvc,mingw}.{out,err,status}.
run_both() {
  local name=$1 abi exe
  shift
  for abi in msvc mingw; do
    exe=$host_exe
    [ "$abi" == mingw ] && exe=$mingw_host_exe
    "${wine[@]}" "$exe" "$@" >"$name.$abi.out" 2>"$name.$abi.err"
    echo $? >"$name.$abi.status"
    tr -d '\r' <"$name.$abi.out" >"$name.$abi.out.lf"
    tr -d '\r' <"$name.$abi.err" >"$name.$abi.err.lf"
  done
}

# same_as_mingw NAME ok|fails: both hosts wrote the same and exited with 0,
# or both with another status. Which other status may differ: Wine's
# stdlib.h defines EXIT_FAILURE as -1 (255 here), where MinGW's and Visual
# C++'s define it as 1.
same_as_mingw() {
  local name=$1 outcome=$2 stream abi status
  for stream in out.lf err.lf; do
    if ! cmp -s "$name.msvc.$stream" "$name.mingw.$stream"; then
      fail "on $name, the MSVC-ABI host's ${stream%.lf} differs from the MinGW host's:"
      diff "$name.msvc.$stream" "$name.mingw.$stream" >&2
      return
    fi
  done
  for abi in msvc mingw; do
    status=$(cat "$name.$abi.status")
    if { [ "$outcome" == ok ] && [ "$status" -ne 0 ]; } || { [ "$outcome" == fails ] && [ "$status" -eq 0 ]; }; then
      fail "on $name, the $abi host exited with $status, where it $outcome:"
      cat "$name.$abi.err.lf" >&2
      return
    fi
  done
  pass
}

run_both sample sample.bin edited.json
same_as_mingw sample ok
size=$(stat -c %s sample.bin)
if grep -qx "encoded: $size bytes, read back the same" sample.msvc.out.lf &&
  grep -qx '  ~ inputs\[id=1 "Edited \(.*\)"\]\.alias: "\1" -> "Edited \1"' sample.msvc.out.lf; then
  pass
else
  fail "the MSVC-ABI host did not encode sample.bin to its $size bytes, or did not find the edited alias:"
  cat sample.msvc.out.lf >&2
fi

run_both broken broken.json
same_as_mingw broken fails
if grep -qxF 'broken.json: line 2, column 21 (inputs[0].id): the string "one" is not a number for an int32 field' \
  broken.msvc.err.lf; then
  pass
else
  fail "the MSVC-ABI host did not say where broken.json is wrong:"
  cat broken.msvc.err.lf >&2
fi

write_count "$result" "MSVC-ABI C host"
