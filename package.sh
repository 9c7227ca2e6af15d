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
bash packaging/install-packages.sh guide
# What a package holds bears the date of its version, not that of the day on which it was built.
SOURCE_DATE_EPOCH=$(date -u -d "$(sed -n 's/^## [^ ]* (\(.*\))$/\1/p' CHANGELOG.md | head -n 1)" +%s)
export SOURCE_DATE_EPOCH QT_RCC_SOURCE_DATE_OVERRIDE=$SOURCE_DATE_EPOCH
export CCACHE_DISABLE=1 # what comes out of a cache bears the paths that the cache was told
umask 022
rm -rf build-package/_CPack_Packages
cmake --preset package >/dev/null
cmake --build build-package
cmake --build build-package --target guide >build-package/guide.log 2>&1 || {
    cat build-package/guide.log >&2
    exit 1
}
rm -f dist/*.deb dist/*.ddeb
cpack --config build-package/CPackConfig.cmake -B build-package >build-package/cpack.log 2>&1 || {
    cat build-package/cpack.log >&2
    exit 1
}
mv build-package/*.*deb dist/

# What CPack leaves to be mended. It has the loader's cache made anew for all that stands in a folder of /usr/lib: the
# modules there are loaded by their paths, the package needs no scripts. The debug package's checksums bear the paths of the
# build, and it has no notices of its own.
repack() { # PACKAGE
    local tree
    tree=$(mktemp -d)
    dpkg-deb -R "$1" "$tree"
    rm -f "$tree"/DEBIAN/post*
    if [[ $1 == *-dbgsym_* ]]; then
        mkdir -p "$tree/usr/share/doc"
        ln -s vorela "$tree/usr/share/doc/vorela-dbgsym"
    fi
    (cd "$tree" && find usr -type f -print0 | LC_ALL=C sort -z | xargs -0 md5sum >DEBIAN/md5sums)
    chmod -R u=rwX,go=rX "$tree"
    find "$tree" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
    dpkg-deb --root-owner-group -Zgzip -z6 --build "$tree" "$1" >/dev/null
    rm -rf "$tree"
}
for package in dist/*.*deb; do repack "$package"; done

desktop-file-validate packaging/vorela.desktop
appstreamcli validate --no-net build-package/pages/vorela.metainfo.xml
for package in dist/*.*deb; do lintian --fail-on error,warning "$package"; done
ls -l dist
