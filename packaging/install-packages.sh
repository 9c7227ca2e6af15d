#!/usr/bin/env bash
# Installs the Debian packages that the build needs, if any is missing. `tests` adds what tests and measurements need,
# `gates` what the further checks of continuous integration need besides, `package` what making and checking packages
# needs, `guide` what the guide's pages are built with.
set -euo pipefail

packages=(
    build-essential cmake ninja-build ccache pkg-config
    qt6-base-dev qt6-base-dev-tools qt6-svg-dev
    libsqlite3-dev libcli11-dev nlohmann-json3-dev fonts-liberation libhowardhinnant-date-dev
    libboost-math-dev libeigen3-dev libqpdf-dev
)
if [ "${1:-}" = gates ]; then
    packages+=(git clang clang-format clang-tidy)
fi
if [ "${1:-}" = tests ] || [ "${1:-}" = gates ]; then
    packages+=(libgtest-dev libgmock-dev libbenchmark-dev libfftw3-dev python3 python3-jsonschema python3-numpy
               poppler-utils locales)
fi
if [ "${1:-}" = package ]; then
    packages+=(dpkg-dev file lintian appstream desktop-file-utils)
fi
if [ "${1:-}" = guide ]; then
    packages+=(python3 python3-markdown weasyprint)
fi

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Missing packages, and neither root nor sudo to install them: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
