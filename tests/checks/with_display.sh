#!/usr/bin/env bash
# A command on the private X server keeps its exit status and its output, and has a second run only when the leak
# checker itself crashed in the first.
set -u
wrapper=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0

# expect STATUS RUNS MESSAGE SECOND: a command that writes MESSAGE and ends with 23, and from its second run on with SECOND.
expect() {
  : >"$folder/runs"
  local status=0 output runs
  output=$("$wrapper" bash -c '
    echo run >>"$1"
    echo "display $DISPLAY"
    [ "$(wc -l <"$1")" -gt 1 ] && exit "$3"
    echo "$2" >&2
    exit 23' - "$folder/runs" "$3" "$4" 2>"$folder/errors") || status=$?
  runs=$(wc -l <"$folder/runs")
  if [ "$status" -ne "$1" ] || [ "$runs" -ne "$2" ] || [[ "$output" != "display :"* ]] || ! grep -qF "$3" "$folder/errors"
  then
    echo "\"$3\": exit status $status (expected $1), $runs runs (expected $2), output \"$output\", errors:"
    cat "$folder/errors"
    failures=$((failures + 1))
  fi
}

expect 23 1 '==1==ERROR: LeakSanitizer: detected memory leaks' 0
expect 23 1 'Segmentation fault' 0
expect 0 2 '==1==LeakSanitizer has encountered a fatal error.' 0
expect 7 2 '==1==LeakSanitizer has encountered a fatal error.' 7
[ "$failures" -eq 0 ]
