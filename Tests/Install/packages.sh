#!/bin/bash
# packages.sh FOLDER: looks at the Debian packages in the folder, and runs what
# they hold from a scratch root.
set -euo pipefail

packages=$(realpath "$1")
root=$(mktemp -d)
simulator=
cleanUp() {
    [[ -z $simulator ]] || kill "$simulator" 2>/dev/null || true
    rm -rf "$root"
}
trap cleanUp EXIT

fail() {
    echo "packages: $*" >&2
    exit 1
}

field() { dpkg-deb -f "$packages/$1"_*.deb "$2"; }

expected="jsondevice-simulator jsondevice-tools libjsondevice-dev libjsondevice0"
found=$(for file in "$packages"/*.deb; do dpkg-deb -f "$file" Package; done | sort | tr '\n' ' ')
[[ ${found% } == "$expected" ]] || fail "there are $found"

# What dpkg-shlibdeps finds, and the packages of this build among each other.
for name in libjsoncpp25 liblog4cxx15 libpng16-16 libsimdjson14 libtbb12 libxerces-c3.2 zlib1g libhwy1; do
    [[ " $(field libjsondevice0 Depends)" == *" $name"* ]] || fail "libjsondevice0 does not depend on $name"
done
version=$(field libjsondevice0 Version)
for package in jsondevice-tools jsondevice-simulator libjsondevice-dev; do
    [[ $(field $package Depends) == *"libjsondevice0 (= $version)"* ]] ||
        fail "$package does not depend on libjsondevice0 of its version"
done
# All of it can be had from Debian.
apt-get -s --no-install-recommends install "$packages"/*.deb >"$root/apt.log" 2>&1 ||
    { cat "$root/apt.log"; fail "apt cannot install them"; }

for file in "$packages"/*.deb; do
    dpkg-deb -x "$file" "$root"
done
for package in $expected; do
    [[ -s $root/usr/share/doc/$package/copyright ]] || fail "$package has no copyright file"
done
libraries=$(dirname "$(find "$root" -name libJsonDevice.so)")
export LD_LIBRARY_PATH=$libraries PATH=$root/usr/bin:$PATH
for file in "$libraries"/libJsonDevice*.so "$root"/usr/bin/*; do
    ! readelf -d "$file" | grep -E 'R(UN)?PATH' || fail "$file has a run path"
    ! ldd "$file" | grep "not found" || fail "$file misses a library"
done

exec {output}< <(exec jsondevice-sim --port 0)
simulator=$!
read -r -t 60 line <&"$output"
export JSONDEVICE=${line##* }
jsondevice status | grep -F "Simulated projector"

# And another program is built from them. A scratch root is no system, so its own place is said.
export PKG_CONFIG_PATH=$libraries/pkgconfig
${CXX:-c++} -std=c++20 $(pkg-config --cflags jsondevice-simulator) Examples/StatusAndKey.cpp \
    $(pkg-config --libs jsondevice-simulator) -o "$root/StatusAndKey"
"$root/StatusAndKey" "$JSONDEVICE"
