#!/usr/bin/env bash
# Shows the package at work on a fresh Debian without a compiler: installs it into a new system in a folder, simulates,
# analyses, opens the window on a database as a double-click on a desktop does, removes it all and looks for what is left.
#   packaging/check-on-fresh-debian.sh PACKAGE.deb OUT_FOLDER [SYSTEM_FOLDER]
# As root; needs debootstrap, Xvfb and ImageMagick. OUT_FOLDER gets the picture and the lists of files. A SYSTEM_FOLDER
# that is there already, with a fresh system, is used as it is.
set -euo pipefail
package=$(realpath "$1")
mkdir -p "$2"
out=$(realpath "$2")
root=$(realpath -m "${3:-$out/system}")
display=:$((90 + RANDOM % 900))
xvfb=

inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
as_user() { inside su engineer -c "cd && export DISPLAY=$display; $*"; }
leave() {
    [ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null || true
    for place in tmp/.X11-unix dev proc; do umount "$root/$place" 2>/dev/null || true; done
}
trap leave EXIT

if [ ! -d "$root/etc" ]; then
    echo "== A fresh system"
    mirror=$(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' | grep -v security | head -n 1)
    debootstrap --variant=minbase bookworm "$root" "$mirror" >"$out/debootstrap.log"
    for list in /etc/apt/sources.list /etc/apt/sources.list.d /etc/apt/apt.conf.d; do
        [ ! -e "$list" ] || cp -r "$list" "$root/etc/apt/"
    done
    cp /etc/resolv.conf "$root/etc/"
fi
mkdir -p "$root/tmp/.X11-unix"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
Xvfb "$display" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 2
mount --bind /tmp/.X11-unix "$root/tmp/.X11-unix"

inside apt-get update >"$out/apt.log"
for compiler in cc gcc c++ g++ clang cmake; do
    ! inside sh -c "command -v $compiler" || { echo "the fresh system has $compiler" >&2; exit 1; }
done
# What every desktop has: it finds a file's type and the program for it.
inside apt-get install -y --no-install-recommends libglib2.0-bin shared-mime-info desktop-file-utils >>"$out/apt.log"
inside id engineer >/dev/null 2>&1 || inside useradd engineer
rm -rf "$root/home/engineer"
inside mkhomedir_helper engineer 2>/dev/null || { mkdir "$root/home/engineer" && inside chown engineer: /home/engineer; }
# What a package may leave: the records of the package manager and caches.
files() { (cd "$root" && find etc usr var opt srv root -xdev \( -path var/cache -o -path var/lib/apt -o -path var/lib/dpkg \
    -o -path var/log -o -name __pycache__ \) -prune -o -print | LC_ALL=C sort); }
files >"$out/before.txt"

echo "== Install"
cp "$package" "$root/tmp/vorela.deb"
inside apt-get install -y --no-install-recommends /tmp/vorela.deb >>"$out/apt.log"
inside dpkg -L vorela >"$out/installed.txt"
echo "$(wc -l <"$out/installed.txt") files and folders"

echo "== Simulate and analyse"
as_user dravik simulate demo.dkb --noise 0.005
as_user vorela-batch demo.dkb --settings /usr/share/vorela/demo.ini --export demo.csv --json demo.json --plot demo.png
cp "$root/home/engineer/demo.png" "$root/home/engineer/demo.json" "$root/home/engineer/demo.csv" "$out/"

echo "== The window"
as_user "gio info -a standard::content-type demo.dkb | grep content-type && gio mime application/x-dravik-database"
as_user gio open demo.dkb &
sleep 10
import -display "$display" -window root "$out/window.png"
as_user Vorela /home/engineer/demo.dkb # a second start: hands over and ends
for process in /proc/[0-9]*; do
    [ "$(readlink "$process/root")" != "$root" ] || [ "$(cat "$process/comm")" != Vorela ] || kill "${process#/proc/}"
done
sleep 1
find "$root/home/engineer" -type f | sed "s,$root,,"

echo "== Remove"
inside apt-get purge -y --autoremove vorela >>"$out/apt.log"
rm -rf "$root/home/engineer" # what the user made; the rest is the package's
files >"$out/after.txt"
if diff "$out/before.txt" "$out/after.txt" >"$out/left.txt"; then
    echo "nothing left"
else
    echo "left over:" >&2
    cat "$out/left.txt" >&2
    exit 1
fi
