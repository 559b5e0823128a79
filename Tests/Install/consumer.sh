# consumer.sh cmake|pkgConfig: builds Examples/ against the installed tree and
# runs each program against the installed simulated projector.
set -euo pipefail

rm -rf source build
cp -r "$SOURCE/Examples" source
mkdir build

case $1 in
cmake)
    "$CMAKE" -S source -B build -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_PREFIX_PATH="$PREFIX" >/dev/null
    "$CMAKE" --build build -j2
    ;;
pkgConfig)
    export PKG_CONFIG_PATH=$PREFIX/$LIBRARY_FOLDER/pkgconfig
    for program in source/*.cpp; do
        name=$(basename "$program" .cpp)
        # shellcheck disable=SC2046 # the flags are to be split
        "$CXX" -std=c++20 $(pkg-config --cflags jsondevice-simulator) "$program" \
            $(pkg-config --libs jsondevice-simulator) -Wl,-rpath,"$PREFIX/$LIBRARY_FOLDER" -o "build/$name"
    done
    ;;
esac

exec {output}< <(exec "$PREFIX/bin/jsondevice-sim" --port 0)
simulator=$!
trap 'kill $simulator' EXIT
read -r -t 60 line <&"$output"
address=${line##* }

for program in source/*.cpp; do
    name=$(basename "$program" .cpp)
    echo "== $name"
    "build/$name" "$address" | tee "$name.txt"
    grep -q . "$name.txt"
    # It is the installed library that was used.
    ldd "build/$name" | grep -F "$PREFIX/$LIBRARY_FOLDER/libJsonDevice.so"
done
"$PREFIX/bin/jsondevice" -d "$address" status | grep -F "Simulated projector"
