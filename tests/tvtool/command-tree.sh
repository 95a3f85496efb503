#!/usr/bin/env bash
# Compares the tool's own list of its commands with the manual page, and tries each command's help
# and the shells' completions.
#
#   command-tree.sh TVTOOL COMPLETIONS SOURCE
#
# TVTOOL is the tool, COMPLETIONS the folder of the printed completions, SOURCE the source tree.
set -euo pipefail
export LC_ALL=C
tvtool=$1 completions=$2 source=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0

fail() {
    printf 'command-tree: %s\n' "$*" >&2
    failed=1
}
# expect WHAT EXPECTED ACTUAL
expect() {
    [ "$2" = "$3" ] || fail "$1:"$'\n'"$(diff <(printf '%s\n' "$2") <(printf '%s\n' "$3") || true)"
}

tree=$("$tvtool" __completions list)
[ "$(wc -l <<<"$tree")" -gt 20 ] || fail "there are too few commands: $tree"

# The manual page: each command with its arguments and options in the synopsis, and each option in
# the text that follows.
synopsis=$(sed -n '/^\.Sh SYNOPSIS/,/^\.Sh DESCRIPTION/p' "$source/man/tvtool.1" | sed -E '
    /^\.Sh/d
    s/Oo % Oc Ns //
    s/ Ns = Ns Ar /=/g
    s/ \.\.\./.../g
    s/Fl Fl ([a-z-]+) Ar ([A-Z=]+) ([A-Z]+)/--\1=\2,\3/
    s/Fl Fl ([a-z-]+) Ar /--\1=/g
    s/Fl Fl /--/g
    s/^\.Op Ar (.*)/[\1]/
    s/^\.Nm/@tvtool/
    s/^\.(Ar|Cm|Op) //' | tr '\n' ' ' | tr '@' '\n' | sed -E '/^$/d; s/ +$//')
expect "the synopsis of tvtool(1) differs from the commands" \
    "$(grep -v ' COMMAND' <<<"$tree" | sed 's/ --help//' | sort)" "$(sort <<<"$synopsis")"
expect "the options described in tvtool(1) differ from those of the commands" \
    "$(grep -o -e ' --[a-z-]*' <<<"$tree" | tr -d ' ' | sort -u)" \
    "$(sed '1,/^\.Sh DESCRIPTION/d' "$source/man/tvtool.1" | grep -o 'Fl Fl [a-z-]*' |
        sed 's/Fl Fl /--/' | sort -u)"

# The help of each command.
while IFS= read -r line; do
    read -ra words <<<"$(sed -E 's/ [^a-z].*//' <<<"$line")"
    name="${words[*]}"
    help=$("$tvtool" "${words[@]:1}" --help </dev/null 2>&1) || fail "$name --help fails"
    [[ $help == *"Usage: $name "* ]] || fail "$name --help shows no usage: $help"
    grep -A1 '^Example:' <<<"$help" | grep -q "^  .*$name" || fail "$name --help has no example"
    [ "$("$tvtool" "${words[@]:1}" -h)" = "$help" ] || fail "$name -h differs from --help"
    wide=$(grep -E '^.{101}' <<<"$help") && fail "$name --help has a wide line: $wide"
done <<<"$tree"
[[ $("$tvtool" --version) == 'tvtool '[0-9]* ]] || fail "--version shows no version"
[[ $("$tvtool" --help) != *__completions* ]] || fail "the help shows what is hidden"

# The completions: their syntax, and what bash's offers in a folder with one file.
bash -n "$completions/bash/tvtool" || fail "bash finds a fault"
for script in zsh/_tvtool fish/tvtool.fish; do
    shell=${script%/*}
    if command -v "$shell" >/dev/null; then
        "$shell" -n "$completions/$script" || fail "$shell finds a fault"
    fi
    for option in $(grep -o -e ' --[a-z-]*' <<<"$tree" | sort -u); do
        grep -qE -- "($option| -l ${option#--})\\>" "$completions/$script" || fail "$shell lacks $option"
    done
done
compopt() { :; }
# shellcheck disable=SC1091
source "$completions/bash/tvtool"
cd "$scratch"
touch Calyx.nwc
while IFS='|' read -r line expected; do
    read -ra COMP_WORDS <<<"$line"
    [[ $line != *' ' ]] || COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _tvtool
    expect "bash completes '$line'" "$expected" "${COMPREPLY[*]}"
done <<'TABLE'
tvtool re|registry
tvtool registry s|show
tvtool registry verify --j|--json
tvtool registry get ./r P --|--help --shared
tvtool config create --f|--from --force
tvtool config create |Calyx.nwc
tvtool config create --from |Calyx.nwc
tvtool config create --from = Cal|Calyx.nwc
tvtool config create --from = x Cal|Calyx.nwc
tvtool config create --from x a -|-h --help --from --force
tvtool config get Calyx.nwc |
tvtool config get Calyx.nwc Name |-h --help --json --damaged
tvtool config show -- -|
tvtool apply --set A = B Cal|Calyx.nwc
tvtool details write --to http : //x.y Cal|Calyx.nwc
tvtool serve --tls Cal|Calyx.nwc
tvtool serve --tls a Cal|Calyx.nwc
tvtool serve --tls a b --o|--once
tvtool serve --fault s|stall slow status=
tvtool serve --fault = re|reset redirect-loop
tvtool serve --fault status =|
tvtool prefs get C|
TABLE

exit "$failed"
