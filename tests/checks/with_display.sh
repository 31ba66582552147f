#!/usr/bin/env bash
# A command on the private X server keeps its exit status and what it writes.
set -u
wrapper=$1
errors=$(mktemp)
trap 'rm -f "$errors"' EXIT

status=0
output=$("$wrapper" bash -c 'echo "display $DISPLAY"; echo "a reason" >&2; exit 23' 2>"$errors") || status=$?
if [ "$status" -ne 23 ] || [[ "$output" != "display :"* ]] || ! grep -qx 'a reason' "$errors"; then
  echo "exit status $status (expected 23), output \"$output\", errors:"
  cat "$errors"
  exit 1
fi
