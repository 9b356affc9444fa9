#!/usr/bin/env bash
# Installs what is missing, builds and runs all tests: test.sh [PRESET...] (release when none is named; asan builds with the
# address and undefined-behaviour sanitizers). Ends with the line "N passed, N failed[, N skipped]" over all presets; the
# exit status is 0 only when every build and every test succeeded.
set -uo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
[ $# -gt 0 ] || set -- release

passed=0 failed=0 skipped=0

# Reads one number of the test report's <testsuite> element.
count() { # attribute, report
  sed -nE "s/^.*<testsuite .*$1=\"([0-9]+)\".*$/\1/p; /^[[:space:]]*$1=\"/{s/^[[:space:]]*$1=\"([0-9]+)\".*$/\1/p;q}" "$2" | head -n 1
}

run_preset() { # preset
  scripts/build.sh "$1" || return 1
  local report=$PWD/build/$1/tests.xml log=build/$1-tests.log started=$SECONDS status=0
  rm -f "$report"
  echo "test: $1 ..."
  ctest --preset "$1" -j "$(nproc)" --no-tests=error --output-junit "$report" </dev/null >"$log" 2>&1 || status=$?

  local all=0 bad=0 left=0
  if [ -s "$report" ]; then
    all=$(count tests "$report") bad=$(count failures "$report") left=$(count skipped "$report")
  fi
  passed=$((passed + all - bad - left)) failed=$((failed + bad)) skipped=$((skipped + left))
  if [ $status -ne 0 ] || [ "$bad" -ne 0 ] || [ "$all" -eq 0 ]; then
    cat "$log"
    [ "$bad" -ne 0 ] || failed=$((failed + 1)) # the runner itself failed
    echo "test: $1 failed after $((SECONDS - started)) s (log: $PWD/$log)"
    return 1
  fi
  echo "test: $1 ran $all tests in $((SECONDS - started)) s"
}

scripts/install_packages.sh || { echo "0 passed, 1 failed"; exit 1; }
good=1
for preset in "$@"; do
  before=$failed
  if ! run_preset "$preset"; then
    good=0
    [ "$failed" -gt "$before" ] || failed=$((failed + 1)) # a build that failed counts as one failure
  fi
done

line="$passed passed, $failed failed"
[ "$skipped" -eq 0 ] || line="$line, $skipped skipped"
echo "$line"
[ $good -eq 1 ] && [ $failed -eq 0 ]
