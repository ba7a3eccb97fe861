#!/usr/bin/env bash
# Runs vykrec as a user would: round trips, exit statuses and messages.
# Usage: vykrec_cli_test.sh VYKREC SOURCE_DIR
set -u
vykrec=$1
src=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0
failed=0

check() {  # check NAME EXPECTED_STATUS COMMAND...
  local name=$1 expected=$2
  shift 2
  "$@" >"$work/out" 2>"$work/err"
  local status=$?
  if [[ $status -eq $expected ]]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAIL $name: status $status, expected $expected; stderr: $(cat "$work/err")"
  fi
}

check_stderr() {  # check_stderr NAME PATTERN
  if grep -q -- "$2" "$work/err" && [[ $(wc -l <"$work/err") -eq 1 ]]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    echo "FAIL $1: stderr '$(cat "$work/err")' does not match '$2' on one line"
  fi
}

same() {  # same NAME FILE1 FILE2
  if cmp -s "$2" "$3"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAIL $1: $2 and $3 differ"; fi
}

sample=$src/samples/pc-text.txt
check "stream copy" 0 "$vykrec" copy --from S --to S "$sample" "$work/s.txt"
same "stream copy is byte for byte" "$sample" "$work/s.txt"
check "stdin to stdout" 0 sh -c "\"$vykrec\" copy <\"$sample\" >\"$work/pipe.txt\""
same "stdin to stdout is byte for byte" "$sample" "$work/pipe.txt"
check "help" 0 "$vykrec" copy --help
grep -q "usage: vykrec copy" "$work/out" && passed=$((passed + 1)) || { failed=$((failed + 1)); echo "FAIL help text"; }

check "no command" 2 "$vykrec"
check "unknown command" 2 "$vykrec" frobnicate
check_stderr "unknown command message" "unknown command 'frobnicate'"
check "unknown option" 2 "$vykrec" copy --bogus "$sample"
check_stderr "unknown option message" "unknown option '--bogus'"
check "unknown format" 2 "$vykrec" copy --from XYZ "$sample"
check_stderr "unknown format message" "unknown record format 'XYZ'"
check "bad lrecl" 2 "$vykrec" copy --lrecl -3 "$sample"
check "missing value" 2 "$vykrec" copy --to
check "too many files" 2 "$vykrec" copy a b c
check "missing input" 1 "$vykrec" copy "$work/none.txt" "$work/x"
check_stderr "missing input message" "Cannot open file: .*none.txt"

# Encodings: Latin-1 LF text to IBM-1047 VB records and to UTF-16LE with a mark, and back.
printf 'Caf\xe9 cr\xe8me\n[x] ^y \xa2\xac\n\nlast\n' >"$work/latin1.txt"
check "latin1 to 1047 VB" 0 "$vykrec" copy --from V --to S370VB --from-encoding ISO-8859-1 --to-encoding IBM-1047 \
  "$work/latin1.txt" "$work/text.vb"
# Block descriptor (43 bytes), then each record behind its descriptor: C=C3 a=81 f=86 e-acute=51
# blank=40 [=AD ]=BD ^=5F cent=4A not=B0 ...
printf '\x00\x2b\x00\x00\x00\x0e\x00\x00\xc3\x81\x86\x51\x40\x83\x99\x54\x94\x85\x00\x0d\x00\x00\xad\xa7\xbd\x40\x5f\xa8\x40\x4a\xb0\x00\x04\x00\x00\x00\x08\x00\x00\x93\x81\xa2\xa3' >"$work/expected.vb"
same "1047 VB bytes" "$work/expected.vb" "$work/text.vb"
check "1047 VB to latin1" 0 "$vykrec" copy --from S370VB --to V --from-encoding IBM-1047 --to-encoding ISO-8859-1 \
  "$work/text.vb" "$work/back.txt"
same "latin1 to 1047 VB and back is byte for byte" "$work/latin1.txt" "$work/back.txt"
check "latin1 to UTF-16LE with mark" 0 "$vykrec" copy --from V --to V --from-encoding ISO-8859-1 \
  --to-encoding UTF-16LE --bom "$work/latin1.txt" "$work/text.u16"
head -c 12 "$work/text.u16" >"$work/u16head"
printf '\xff\xfeC\x00a\x00f\x00\xe9\x00 \x00' >"$work/u16expected"
same "UTF-16LE starts with the mark" "$work/u16expected" "$work/u16head"
check "UTF-16LE to latin1" 0 "$vykrec" copy --from V --to V --from-encoding UTF-16LE --to-encoding ISO-8859-1 \
  "$work/text.u16" "$work/back16.txt"
same "latin1 to UTF-16LE and back is byte for byte" "$work/latin1.txt" "$work/back16.txt"
check "unknown encoding" 2 "$vykrec" copy --from-encoding NO-SUCH-CODE "$work/latin1.txt"
check_stderr "unknown encoding message" "unknown encoding 'NO-SUCH-CODE'"
check "bom without a mark" 2 "$vykrec" copy --to V --to-encoding IBM-1047 --bom "$work/latin1.txt"
printf 'a\xff\n' >"$work/bad.u8"
check "malformed UTF-8" 1 "$vykrec" copy --from V --to V --from-encoding UTF-8 --to-encoding ISO-8859-1 \
  "$work/bad.u8" "$work/bad.txt"
check_stderr "malformed UTF-8 message" "CharConverter::Invalid"

echo "vykrec: $passed passed, $failed failed"
[[ $failed -eq 0 ]]
