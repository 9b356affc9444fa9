#!/usr/bin/env bash
# Configures and builds a preset: build.sh PRESET [TARGET...]. What the tools say goes to build/PRESET.log, and to standard
# error when a step fails.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=$1
shift
mkdir -p build
log=build/$preset.log
: >"$log"

step() { # command...
  if ! "$@" >>"$log" 2>&1; then
    cat "$log" >&2
    echo "build: '$*' failed (log: $PWD/$log)" >&2
    exit 1
  fi
}

started=$SECONDS
echo "build: $preset ..."
step cmake --preset "$preset"
step cmake --build --preset "$preset" ${1:+--target "$@"}
echo "build: $preset is ready in build/$preset after $((SECONDS - started)) s"
