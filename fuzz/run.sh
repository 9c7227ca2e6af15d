#!/bin/sh
# Fuzzes one target for a number of seconds: run.sh NAME SECONDS. Build first: cmake --preset fuzz && cmake --build build-fuzz.
# What the run learns is kept in build-fuzz/corpus/NAME; an input that breaks a claim ends the run and is named.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build="$here/../build-fuzz"
learned="$build/corpus/$1"
mkdir -p "$learned"
exec "$build/tests/fuzz_$1" -max_total_time="$2" -max_len=4096 -timeout=20 -rss_limit_mb=4096 \
    -artifact_prefix="$build/$1-" "$learned" "$here/corpus/$1"
