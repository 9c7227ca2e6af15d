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
exec ctest --preset "$preset"
