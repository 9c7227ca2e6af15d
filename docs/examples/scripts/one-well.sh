#!/bin/sh
# Simulates well NUMBER in FOLDER and analyses it: FOLDER/well-NUMBER.csv has a line an interval. Wells differ in
# permeability, skin and noise. With a recorded well only the last command is needed.
#   one-well.sh NUMBER FOLDER [SETTINGS]
set -eu
number=$1 folder=$2 settings=${3:-/usr/share/vorela/demo.ini}
well=$folder/well-$number
rm -f "$well.dkb"
dravik simulate "$well.dkb" --levels 4 --cycles 10 --noise 0.02 --seed "$number" \
    --permeability "$((20 + number * 7 % 300)),$((10 + number * 13 % 200)),150,80" --skin "$((number % 8)),2,0,3" \
    >"$well.truth"
exec vorela-batch "$well.dkb" --settings "$settings" --table "$well.csv" >"$well.txt" 2>"$well.log"
