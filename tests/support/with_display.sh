#!/usr/bin/env bash
# Runs a command on a private X server with software OpenGL, which ends with the command.
# With RIMAGE_TEST_DISPLAY=:0 the command runs on that display instead, to test its graphics card.
set -u

folder=$(mktemp -d)
server=
trap '[ -z "$server" ] || { kill "$server"; wait "$server"; } 2>/dev/null; rm -rf "$folder"' EXIT
mkfifo "$folder/number"

# run_on DISPLAY COMMAND...: the command's exit status; what it says on standard error is kept in a file too.
run_on() {
  { DISPLAY=$1 QT_QPA_PLATFORM=xcb "${@:2}" 2>&1 >&3 | tee "$folder/errors" >&2; } 3>&1
  return "${PIPESTATUS[0]}"
}

# The leak checker looks into every thread at exit, and can itself crash while a driver's thread ends. It then says
# nothing about the program, which gets a second run; a crash or a finding of the program is reported at once.
run_checked_on() {
  local status=0
  run_on "$@" || status=$?
  if [ "$status" -ne 0 ] && grep -q 'LeakSanitizer has encountered a fatal error' "$folder/errors"; then
    echo "with_display: the leak checker crashed; once more" >&2
    run_on "$@"
    return
  fi
  return "$status"
}

if [ -n "${RIMAGE_TEST_DISPLAY:-}" ]; then
  run_checked_on "$RIMAGE_TEST_DISPLAY" "$@"
  exit
fi

# The server picks a free display number and tells it; the parent-death signal ends it even when this script is killed.
for attempt in 1 2 3; do
  setpriv --pdeathsig TERM Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset \
    3>"$folder/number" >"$folder/log" 2>&1 &
  server=$!
  number=
  read -r -t 30 number <"$folder/number"
  [ -n "$number" ] && break
  wait "$server" 2>/dev/null
done
if [ -z "$number" ]; then
  echo "with_display: no X server could be started:" >&2
  cat "$folder/log" >&2
  exit 1
fi
run_checked_on ":$number" "$@"
