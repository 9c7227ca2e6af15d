#!/usr/bin/env bash
# Makes the Debian packages of Vorela and of its debug symbols in dist/, and shows that the checkers of packages, desktop
# entries and application data find nothing in them. Two runs on one commit give the same bytes.
#   ./package.sh            the packages
#   ./package.sh --source   the source archive only (of the last commit)
set -euo pipefail
cd "$(dirname "$0")"

version=$(sed -n 's/^project(Vorela VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
mkdir -p dist
if [ "${1:-}" = --source ]; then
    git archive --format=tar --prefix="vorela-$version/" HEAD | gzip -9n >"dist/vorela-$version.tar.gz"
    echo "dist/vorela-$version.tar.gz"
    exit
fi

bash packaging/install-packages.sh package
# What a package holds bears the date of its version, not that of the day on which it was built.
SOURCE_DATE_EPOCH=$(date -u -d "$(sed -n 's/^## [^ ]* (\(.*\))$/\1/p' CHANGELOG.md | head -n 1)" +%s)
export SOURCE_DATE_EPOCH QT_RCC_SOURCE_DATE_OVERRIDE=$SOURCE_DATE_EPOCH
umask 022
rm -rf build-package/_CPack_Packages
cmake --preset package >/dev/null
cmake --build build-package
rm -f dist/*.deb dist/*.ddeb
cpack --config build-package/CPackConfig.cmake -B build-package >build-package/cpack.log 2>&1 || {
    cat build-package/cpack.log >&2
    exit 1
}
mv build-package/*.*deb dist/

# CPack has the loader's cache made anew for all that stands in a folder of /usr/lib. The modules there are loaded by their
# paths: the package needs no scripts.
package=$(echo dist/vorela_*.deb)
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
dpkg-deb -R "$package" "$tree/vorela"
rm "$tree"/vorela/DEBIAN/post*
chmod 755 "$tree/vorela"
dpkg-deb --root-owner-group --build "$tree/vorela" "$package" >/dev/null

desktop-file-validate packaging/vorela.desktop
appstreamcli validate --no-net build-package/pages/vorela.metainfo.xml
for package in dist/*.*deb; do lintian --fail-on error,warning "$package"; done
ls -l dist
