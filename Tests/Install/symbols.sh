# symbols.sh [--update]: compares what each installed library exports with the
# lists in the tree. The lists have the names that the library itself defines;
# of a class without members defined there, its virtual table. Copies of inline
# functions and of instances of templates, which differ between compilers and
# levels of optimisation, are left out when they are this project's, and
# refused when they are another's.
set -euo pipefail
export LC_ALL=C

lists=$SOURCE/Tests/Install/Symbols
status=0
mkdir -p "$lists"
for library in "$PREFIX/$LIBRARY_FOLDER"/libJsonDevice*.so; do
    name=$(basename "$library" .so)
    nm -D --defined-only "$library" >"$name.raw"

    if awk '{print $3}' "$name.raw" | grep -E '^_Z(GV|T[ISV]|TC)?Z?N?K?(S[abdiost]|9__gnu_cxx|4asio|7log4cxx|4Json|8simdjson)'; then
        echo "$name exports symbols of other libraries (see cmake/HiddenSymbols.map)"
        status=1
    fi
    awk '$2 ~ /[TBDR]/ || $3 ~ /^_ZTV/ {print $3}' "$name.raw" | c++filt | sort -u >"$name.txt"

    if [[ ${1-} == --update ]]; then
        cp "$name.txt" "$lists/"
    elif ! diff -u "$lists/$name.txt" "$name.txt"; then
        echo "$name exports other symbols than $lists/$name.txt says."
        echo "If that is meant, run scripts/update-symbols and commit what it changed."
        status=1
    fi
done

for list in "$lists"/*.txt; do
    [[ -e $PREFIX/$LIBRARY_FOLDER/$(basename "$list" .txt).so ]] || { echo "no library for $list"; status=1; }
done
exit "$status"
