#!/bin/bash
# Many wells side by side into one table, FOLDER/wells.csv, and what that took. A well that fails is named and leaves no
# lines; the others go on.
#   many-wells.sh COUNT JOBS FOLDER [SETTINGS]          100 wells on 4 cores: many-wells.sh 100 4 wells
set -euo pipefail
count=$1 jobs=$2 folder=$3 settings=${4:-/usr/share/vorela/demo.ini}
here=$(dirname "$(realpath "$0")")
mkdir -p "$folder"
rm -f "$folder"/well-*.csv "$folder/wells.csv"

begin=$(date +%s.%N)
seq "$count" | xargs -P "$jobs" -I{} sh -c '"$1/one-well.sh" "$2" "$3" "$4" || echo "well $2 failed: see $3/well-$2.log" >&2' \
    - "$here" {} "$folder" "$settings"
end=$(date +%s.%N)

# One header, then every well's lines in the order of their numbers.
for number in $(seq "$count"); do
    [ ! -f "$folder/well-$number.csv" ] || cat "$folder/well-$number.csv"
done | awk 'NR == 1 { header = $0; print } $0 != header' >"$folder/wells.csv"
done_wells=$(find "$folder" -name 'well-*.csv' | wc -l)
awk -v wells="$done_wells" -v count="$count" -v jobs="$jobs" -v seconds="$(echo "$end $begin" | awk '{ print $1 - $2 }')" 'BEGIN {
    printf "%d of %d wells in %.1f s by %d jobs: %.2f wells a second, %.2f for each job\n",
           wells, count, seconds, jobs, wells / seconds, wells / seconds / jobs }'
[ "$done_wells" -eq "$count" ]
