#!/usr/bin/env bash
# Runs a command. Under sanitizers the leak checker looks into every thread at exit, and can itself crash while a thread
# of a library ends. It then says nothing about the program, which gets a second run; a crash or a finding of the program
# is reported at once.
set -u

errors=$(mktemp)
trap 'rm -f "$errors"' EXIT

# The command's exit status; what it says on standard error is kept in a file too.
run() {
  { "$@" 2>&1 >&3 | tee "$errors" >&2; } 3>&1
  return "${PIPESTATUS[0]}"
}

status=0
run "$@" || status=$?
if [ "$status" -ne 0 ] && grep -q 'LeakSanitizer has encountered a fatal error' "$errors"; then
  echo "leak_checked: the leak checker crashed; once more" >&2
  status=0
  run "$@" || status=$?
fi
exit "$status"
