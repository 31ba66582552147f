#!/usr/bin/env bash
# Fuzzes every target for the same time. Usage: fuzz/run.sh BIN_FOLDER SECONDS
# New inputs collect in out/fuzz/<target>; a finding stops the run and lies in out/fuzz as well.
set -euo pipefail
bin=$1
seconds=$2
cd "$(dirname "$0")/.."
mkdir -p out/fuzz
shopt -s nullglob

fuzz_one() {
  local program=$1 name dictionary=() display=()
  name=$(basename "$program")
  name=${name#fuzz_}
  mkdir -p "out/fuzz/$name"
  [ -f "fuzz/$name.dict" ] && dictionary=(-dict="fuzz/$name.dict")
  # What draws needs a display, and drivers keep memory that looks lost.
  [[ "$name" == *_gl ]] && display=(env ASAN_OPTIONS=detect_leaks=0 tests/support/with_display.sh)
  "${display[@]}" "$program" "out/fuzz/$name" "fuzz/corpus/$name" "${dictionary[@]}" -max_total_time="$seconds" \
    -artifact_prefix="out/fuzz/$name-" -rss_limit_mb=4096 -malloc_limit_mb=2560 -timeout=10 -print_final_stats=1 \
    >"out/fuzz/$name.log" 2>&1 || {
    echo "fuzz_$name: FOUND something"
    tail -n 40 "out/fuzz/$name.log"
    return 1
  }
  echo "fuzz_$name: nothing found in $(sed -n 's/^stat::number_of_executed_units: *//p' "out/fuzz/$name.log") runs"
}
export -f fuzz_one
export seconds

programs=("$bin"/fuzz_*)
[ ${#programs[@]} -gt 0 ] || { echo "no fuzz targets in $bin" >&2; exit 1; }
printf '%s\0' "${programs[@]}" | xargs -0 -P "$(nproc)" -I{} bash -c 'fuzz_one {}'
