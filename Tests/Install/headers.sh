# Every installed header compiles on its own, with no dependency but jsoncpp
# to be found, and none reaches for a header that is not installed.
set -euo pipefail

include=$PREFIX/include/JsonDevice
mapfile -t headers < <(cd "$include" && find . -name '*.h' -printf '%P\n' | sort)
((${#headers[@]} > 20)) || { echo "only ${#headers[@]} headers are installed"; exit 1; }

# The others are packages of this machine, so that only their absence from the text can be seen.
if grep -rnE '#include <(asio|log4cxx|simdjson|xercesc|tbb|hwy|png|zlib|utf8|CLI)' "$include"; then
    echo "an installed header shows a dependency of the implementation"
    exit 1
fi

for header in "${headers[@]}"; do
    printf '#include "%s"\n' "$header" >"${header//\//-}.cpp"
done
printf '%s\n' "${headers[@]//\//-}" | xargs -P 2 -I{} "$CXX" -std=c++20 -Wall -Wextra -Wpedantic -Werror \
    -fsyntax-only -I "$include" $(pkg-config --cflags jsoncpp) {}.cpp
echo "${#headers[@]} headers"
