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

echo "vykrec: $passed passed, $failed failed"
[[ $failed -eq 0 ]]
