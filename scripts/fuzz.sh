#!/usr/bin/env bash
# Installs what is missing, builds the fuzz targets and runs each: fuzz.sh [SECONDS [TARGET...]] (60 s, all targets).
#
# A target starts from pictures that the engine itself writes, from those in the folder that QEL_TEST_DATA names, and from what
# earlier runs found worth keeping. What ends a target lies in build/fuzz/findings, with what it said in build/fuzz/NAME.log;
# `build/fuzz/fuzz/targets/NAME FILE` runs one finding again. The exit status is 0 only when nothing was found. Where clang cannot be
# had nothing is run, and the script says so.
set -euo pipefail

seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: $0 [SECONDS [TARGET...]]" >&2; exit 2; }
shift $(($# > 0))
data=${QEL_TEST_DATA:+$(realpath -- "$QEL_TEST_DATA")}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

have_clang() { command -v clang++ >/dev/null && echo 'extern "C" int LLVMFuzzerTestOneInput(const char*, long) { return 0; }' |
  clang++ -x c++ -fsanitize=fuzzer - -o /dev/null 2>/dev/null; }
scripts/install_packages.sh
if ! have_clang && { ! scripts/install_packages.sh --fuzz || ! have_clang; }; then
  echo "fuzz: skipped, there is no clang++ with libFuzzer here"
  exit 0
fi
scripts/build.sh fuzz

build=$PWD/build/fuzz targets=$PWD/build/fuzz/fuzz/targets seeds=$PWD/build/fuzz/seeds findings=$PWD/build/fuzz/findings
export ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=512:allow_user_segv_handler=1:detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1 XDG_CONFIG_HOME=$build/settings  # not the user's own
rm -rf "$seeds" "$findings"
mkdir -p "$findings" "$XDG_CONFIG_HOME"
for target in "$targets"/*; do mkdir -p "$seeds/${target##*/}"; done
"$build/fuzz/fuzz_seeds" "$seeds"
if [ -n "$data" ]; then
  find "$data" -type f -size -2M | while read -r picture; do
    extension=${picture##*.}
    case $extension in bmp) into=(bmp dib) ;; jpeg) into=(jpg) ;; tiff) into=(tif) ;; *) into=("$extension") ;; esac
    for target in "${into[@]}"; do [ ! -d "$seeds/$target" ] || cp "$picture" "$seeds/$target/"; done
  done
fi
find "$seeds" -type f -exec chmod u+w {} +

run() { # target
  local corpus=$build/corpus/$1
  mkdir -p "$corpus"
  "$targets/$1" "$corpus" "$seeds/$1" -max_total_time="$seconds" -max_len=65536 -timeout=60 -rss_limit_mb=2048 -malloc_limit_mb=1024 \
    -handle_segv=0 -handle_bus=0 -artifact_prefix="$findings/$1-" >"$build/$1.log" 2>&1 && return
  echo "fuzz: $1 has a finding (log: $build/$1.log)"
  tail -n 60 "$build/$1.log"
  return 1
}

[ $# -gt 0 ] || set -- $(ls "$targets")
echo "fuzz: $* for $seconds s each ..."
running=0 bad=0
for target in "$@"; do
  [ $running -lt "$(nproc)" ] || { wait -n || bad=$((bad + 1)); running=$((running - 1)); }
  run "$target" &
  running=$((running + 1))
done
while [ $running -gt 0 ]; do wait -n || bad=$((bad + 1)); running=$((running - 1)); done
for target in "$@"; do echo "fuzz: $target, $(sed -nE 's/^Done ([0-9]+) runs.*/\1 files/p' "$build/$target.log")"; done
[ $bad -eq 0 ] || { echo "fuzz: findings in $bad of $# targets, in $findings"; exit 1; }
echo "fuzz: nothing found in $# targets"
