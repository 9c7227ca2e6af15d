#!/usr/bin/env bash
# Sets this machine up, builds everything with warnings as errors and runs every test.
#   ./test.sh            the tests
#   ./test.sh sanitize   the same under AddressSanitizer and UndefinedBehaviorSanitizer
set -euo pipefail
cd "$(dirname "$0")"

preset=${1:-dev}
case $preset in
    dev | sanitize | release | coverage) ;;
    *) echo "usage: ./test.sh [dev|sanitize|release|coverage]" >&2; exit 2 ;;
esac
bash packaging/install-packages.sh tests
cmake --preset "$preset" -DBUILD_TESTING=ON
cmake --build --preset "$preset"

build=build-$preset
[ "$preset" != release ] || build=build
# Why a test was skipped stands in the log only; it is said before ctest's own summary, which stays last.
say_skipped() {
    awk '/: Skipped$/ { getline reason }
         /^\[  SKIPPED \] .* ms\)$/ { print "Skipped: " $4 ": " reason }' "$build/Testing/Temporary/LastTest.log"
}
summary=
ctest --preset "$preset" | {
    while IFS= read -r line; do
        [[ $line != *"tests passed, "*" tests failed out of "* ]] || summary=yes
        if [ -n "$summary" ]; then held+=$line$'\n'; else printf '%s\n' "$line"; fi
    done
    say_skipped
    printf '%s' "${held:-}"
}
