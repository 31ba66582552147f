#!/usr/bin/env bash
# Runs a command on a private X server with software OpenGL, which ends with the command.
# With RIMAGE_TEST_DISPLAY=:0 the command runs on that display instead, to test its graphics card.
set -u

folder=$(mktemp -d)
server=
trap '[ -z "$server" ] || { kill "$server"; wait "$server"; } 2>/dev/null; rm -rf "$folder"' EXIT
mkfifo "$folder/number"

# run_on DISPLAY COMMAND...
run_on() {
  DISPLAY=$1 QT_QPA_PLATFORM=xcb "${@:2}"
}

if [ -n "${RIMAGE_TEST_DISPLAY:-}" ]; then
  run_on "$RIMAGE_TEST_DISPLAY" "$@"
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
run_on ":$number" "$@"
