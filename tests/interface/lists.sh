#!/usr/bin/env bash
# Compares each list that stands in more than one place with the one that it follows.
#
#   lists.sh exported NM FRAMEWORK SOURCE    the public header's functions with the version script,
#                                            the library's symbols and the manual pages; variables
#                                            and kinds of damage with the pages that list them
#   lists.sh platform NM PLATFORM SOURCE     the platform headers' functions with the library's
#                                            symbols
# Both compare all symbols with those in debian/*.symbols.
#   lists.sh document NM PLATFORM SOURCE     the same with docs/platform-layer.md
set -euo pipefail
export LC_ALL=C
what=$1 nm=$2 library=$3
cd "$4"
failed=0

# expect WHAT LIST FOLLOWER: two lists, one entry a line, are the same. "<" marks what FOLLOWER lacks.
expect() {
    local differences
    if [ -z "$2" ]; then
        echo "lists: $1: the list is empty" >&2
        failed=1
    elif ! differences=$(diff <(sort <<<"$2") <(sort <<<"$3")); then
        printf 'lists: %s:\n%s\n' "$1" "$differences" >&2
        failed=1
    fi
}
# The declarations of C headers, one a line, without comments and preprocessor lines.
declarations() {
    sed 's|//.*||; s|/\*.*\*/||; /^#/d' "$@" | sed '/\/\*/,/\*\//d' | tr -s ' \n' ' ' | tr ';{}' '\n'
}
# The names of the functions that a library exports, each with its version.
symbols() {
    "$nm" -D --defined-only --format=posix "$library" | sed -n 's/^\([^ ]*\) T .*/\1/p'
}
# check_package FILE compares all symbols of the library, data and versions among them, with FILE.
check_package() {
    expect "symbols of the library and in $1" "$("$nm" -D --defined-only --format=posix "$library" |
        sed -E 's/ .*//; s/@@/@/; s/^[^@]+$/&@&/')" "$(sed -n 's/^ \([^ ]*\) .*/\1/p' "$1")"
}

check_exported() {
    local header prototypes functions script pages page
    check_package debian/libtvframework3.symbols
    prototypes=$(declarations include/TVframework/TVframework.h |
        sed -nE 's/^ *(TV_EXPORT )?(.*\btv[A-Z][A-Za-z]*\(.*\))$/\2/p')
    functions=$(sed -E 's/.*\b(tv[A-Za-z]+)\(.*/\1/' <<<"$prototypes")
    script=$(awk '/^[A-Z_0-9.]+ *{/ { version = $1 } /local:/ { version = "" }
        version != "" && /^ *[A-Za-z]+;/ { sub(/;/, ""); print $1 "@@" version }' src/interface/TVframework.map)
    expect 'functions in the header and in TVframework.map' "$functions" "${script//@@*([A-Z_0-9.])/}"
    expect 'functions in TVframework.map and in the library' "$script" "$(symbols)"
    # The library has no data, and one symbol for each version.
    expect 'symbols of the library that are no functions' \
        "$(sed -n 's/.*@@//p' <<<"$script" | sort -u)" \
        "$("$nm" -D --defined-only --format=posix "$library" | sed -n '/ T /!s/ .*//p')"

    page=man/tvframework.3
    expect "functions in the header and at the top of $page" "$functions" \
        "$(sed -nE 's/^\.Nm (tv[A-Za-z]+).*/\1/p' "$page")"
    expect "prototypes in the header and in $page" "$prototypes" \
        "$(sed -n '/^\.Sh SYNOPSIS/,/^\.Sh DESCRIPTION/p' "$page" | sed -n '/^\.Ft/{N;p}' |
            sed -E '/^\.Ft/{N;s/^\.Ft (.*)\n\.Fn (\w+) "(.*)"/\1 \2(\3)/;s/" "/, /g}')"
    pages=$(grep -l '^\.so man3/tvframework.3$' man/*.3 | sed 's|man/||; s|\.3$||')
    expect 'functions in the header and pages in man/' "$functions" "$pages"
    expect 'built-in variables in AppVariables.h and in man/tvframework.7' \
        "$(sed -nE 's/^    \{"(\w+)", "(\w+)", (true|false)\},$/\1 \2 \3/p' src/interface/AppVariables.h)" \
        "$(sed -nE 's/^\.It (\w+) Ta (\w+) Ta (yes|no)$/\1 \2 \3/; s/ no$/ true/p; s/ yes$/ false/p' \
            man/tvframework.7)"
    expect 'kinds of damage in ConfigFile.h and in docs/configuration-file.md' \
        "$(sed -n '/cConfigFileDamages\[\]/,/^};/p' src/vars/ConfigFile.h | tr -d '\n' |
            grep -oE '"[a-z-]+", *"[^"]*"' | sed -E 's/"(.*)", *"(.*)"/\1: \2/')" \
        "$(sed -nE '/`kind`/d; s/^\| `([a-z-]+)` \| .* \| (.*) \|$/\1: \2/p' docs/configuration-file.md)"
    expect 'built-in variables in the header and in man/tvframework.7' \
        "$(sed -n '/^ \* Variables\./,/^ \*$/p' include/TVframework/TVframework.h |
            grep -o '"[A-Za-z]*"' | tr -d '"')" \
        "$(sed -nE 's/^\.It (\w+) Ta .* Ta (yes|no)$/\1/p' man/tvframework.7)"
}

platform_declarations() {
    find platform/include -name '*.h' -print0 | sort -z | while IFS= read -r -d '' header; do
        declarations "$header"
    done
}
platform_functions() {
    platform_declarations | sed -nE 's/.*CF_EXPORT [^(]*\b([A-Za-z_]+)\(.*/\1/p'
}

check_platform() {
    check_package debian/libtvplatform1.symbols
    expect 'functions in the platform headers and in the library' "$(platform_functions)" \
        "$(symbols | sed 's/@.*//')"
}

# In code quotes, the document names each function, types and constants if it likes, and no other.
check_document() {
    local names='\b(CF|FS|CS)[A-Z]+[a-z][A-Za-z0-9]*\b' functions others
    functions=$(platform_functions | grep -v '^__')
    others=$(platform_declarations | grep -oE "$names" | grep -vxF "$functions" | sort -u
        find platform/include -name '*.h' | sed 's|.*/||; s|\.h$||')
    expect 'functions in the platform headers and in docs/platform-layer.md' "$functions" \
        "$(grep -oE '`[^`]+`' docs/platform-layer.md | grep -oE "$names" |
            grep -vxF "$others" | sort -u)"
}

shopt -s extglob
"check_$what"
exit "$failed"
