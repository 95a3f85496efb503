#!/usr/bin/env bash
# The shared library in a bundle of its own, seen by a C program in a fresh process: which variables
# the program has depends on the resources beside the library.
#
#   bundle.sh PROBE FRAMEWORK TVTOOL
set -euo pipefail
probe=$1 framework=$2 tvtool=$3
scratch=$(realpath "$(mktemp -d)")
trap 'rm -rf "$scratch"' EXIT
export HOME=$scratch TV_MACHINE_DATA_DIR=$scratch/machine LD_LIBRARY_PATH=$scratch
"$tvtool" config create "$scratch/details" RegFirstName=Ada
failed=0

# install FILE copies the library to FILE. A link leads there, as in an installed tree.
install() {
    mkdir -p "$(dirname "$1")/Resources"
    cp "$framework" "$1"
    ln -sf "$1" "$scratch/libTVframework.so.3"
}
# expect WHAT VARIABLES [FOLDER]
expect() {
    local shown expected=$'<AppName> <MajVersion>.<MinVersion> <AppKey> 0\n1 -1 0\n'$2
    shown=$("$probe" "${@:3}" "$scratch/details" 2>&1) || failed=1
    if [ "$shown" != "$expected" ]; then
        diff <(echo "$expected") <(echo "$shown") | sed "s|^|bundle: $1: |" >&2
        failed=1
    fi
}

folder=$scratch/App/Frameworks/TVframework.framework/Versions/3
install "$folder/TVframework"
expect 'no resources' 'Calyx 7.4 <AppKey> 3'
"$tvtool" config create "$folder/Resources/CXMnwc" %AppName=Pro MajVersion=9 AppKey=k
expect 'resources' 'Pro 7.4 k 4'
# Another folder with the same names.
(
    cd "$scratch"
    mkdir -p other/Resources
    touch other/libTVframework.so.3
    "$tvtool" config create other/Resources/CXMnwc AppKey=other
    LD_LIBRARY_PATH=. expect 'a relative path to the library' 'Pro 7.4 k 4' other
    exit "$failed"
) || failed=1
truncate -s -2 "$folder/Resources/CXMnwc"
expect 'damaged resources' 'Calyx 7.4 <AppKey> 3'

# The canonical path of the library may have 1,023 bytes.
fill=$(printf '%0200d' 0)
folder=$scratch/$fill/$fill/$fill/$fill
name=$(printf "%0$((1023 - ${#folder} - 1))d" 0)
install "$folder/$name"
"$tvtool" config create "$folder/Resources/CXMnwc" AppKey=k
expect 'a path of 1,023 bytes' 'Calyx 7.4 k 4'
install "$folder/0$name"
expect 'a path of 1,024 bytes' 'Calyx 7.4 <AppKey> 3'

exit "$failed"
