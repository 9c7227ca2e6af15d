#!/usr/bin/env bash
# Sets this machine up, builds Vorela and does its main job on a simulated four-level well: the interpretation as a CSV
# file and a table, the plots as pictures; the window on a machine with a display.
#   ./run.sh             everything
#   ./run.sh --no-window without the window
set -euo pipefail
cd "$(dirname "$0")"

bash packaging/install-packages.sh
cmake --preset release -DBUILD_TESTING=OFF -DVORELA_BUILD_BENCH=OFF >build-configure.log 2>&1 || {
    cat build-configure.log >&2
    exit 1
}
rm -f build-configure.log
cmake --build build

bin=$PWD/build/bin
demo=$PWD/build/demo
mkdir -p "$demo"
if [ ! -f "$demo/demo.dkb" ]; then
    # With the noise of a good gauge: without any, the errors are those of the stored digits, which no recording has.
    "$bin/dravik" simulate "$demo/new.dkb" --levels 4 --cycles 20 --noise 0.005 >"$demo/truth.txt"
    mv "$demo/new.dkb" "$demo/demo.dkb"
fi
echo
echo "What the simulator put in:"
cat "$demo/truth.txt"
echo
echo "What the analysis makes of it:"
"$bin/vorela-batch" "$demo/demo.dkb" --settings packaging/demo.ini --export "$demo/interpretation.csv" \
    --json "$demo/interpretation.json" --plot "$demo/plot.png" --report "$demo/report.pdf"
echo
echo "Database:       $demo/demo.dkb"
echo "Interpretation: $demo/interpretation.csv, $demo/interpretation.json"
echo "Plot, report:   $demo/plot.png, $demo/report.pdf"

if [ "${1:-}" != --no-window ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    if [ ! -f "$bin/Vorela.ini" ]; then
        cp packaging/demo.ini "$bin/Vorela.ini"
        echo "The window begins with the demonstration well's parameters (Edit, Parameters...): $bin/Vorela.ini"
    fi
    echo "Opening the window. Choose File, Select Data..., Add: the chooser offers this database."
    DRAVIK_DATABASE="$demo/demo.dkb" exec "$bin/Vorela"
fi
