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

# The help of each command, whose examples the page has with their output.
page=$(sed 's/\\(aq/'"'/g" "$source/man/tvtool.1")
while IFS= read -r line; do
    read -ra words <<<"$(sed -E 's/ [^a-z].*//' <<<"$line")"
    name="${words[*]}"
    help=$("$tvtool" "${words[@]:1}" --help </dev/null 2>&1) || fail "$name --help fails"
    [[ $help == *"Usage: $name "* ]] || fail "$name --help shows no usage: $help"
    examples=$(sed '1,/^Example:/d; /^$/,$d; s/^  //' <<<"$help")
    [[ $examples == *"$name"* ]] || fail "$name --help has no example"
    while IFS= read -r example; do
        [[ $'\n'$page == *$'\n$ '"$example"* ]] || fail "tvtool(1) does not show $example"
    done <<<"$examples"
    [ "$("$tvtool" "${words[@]:1}" -h)" = "$help" ] || fail "$name -h differs from --help"
    wide=$(grep -E '^.{101}' <<<"$help") && fail "$name --help has a wide line: $wide"
done <<<"$tree"
[[ $("$tvtool" --version) == 'tvtool '[0-9]* ]] || fail "--version shows no version"
[[ $("$tvtool" --help) != *__completions* ]] || fail "the help shows what is hidden"

# The completions: their syntax, and what bash's offers in a folder with one file.
bash -n "$completions/bash/tvtool" || fail "bash finds a fault"
# The tool that the completions ask, and what it knows.
mkdir "$scratch/home" "$scratch/work"
export HOME="$scratch/home" PATH="${tvtool%/*}:$PATH"
unset XDG_CONFIG_HOME
cd "$scratch/work"
tvtool config create Calyx.nwc Alpha=1 %Beta=2 'C$(touch x)=3'
tvtool prefs set Colour red
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
tvtool registry get ./r P --|--help --shared --color
tvtool config create --f|--from --force
tvtool config create |Calyx.nwc
tvtool config create --from |Calyx.nwc
tvtool config create --from = Cal|Calyx.nwc
tvtool config create --from = x Cal|Calyx.nwc
tvtool config create --from x a -|-h --help --from --force --color
tvtool config get Calyx.nwc |Alpha Beta C\$\(touch\ x\)
tvtool config set --diff Calyx.nwc B|Beta=
tvtool config get Calyx.nwc Name |-h --help --json --damaged --color
tvtool config show -- -|
tvtool apply --set A = B Cal|Calyx.nwc
tvtool details write --to http : //x.y Cal|Calyx.nwc
tvtool serve --tls Cal|Calyx.nwc
tvtool serve --tls a Cal|Calyx.nwc
tvtool serve --tls a b --o|--once
tvtool serve --fault s|stall slow status=
tvtool serve --fault = re|reset redirect-loop
tvtool serve --fault status =|
tvtool doctor --color al|always
tvtool --color = n|never
tvtool --color never ver|version
tvtool help d|details doctor
tvtool help config |create show get verify diff salvage set unset edit
tvtool prefs get C|Colour
TABLE

# The same in the other two shells, as far as they are installed. One of them offers a name with the
# "=" that follows it, the other adds it afterwards.
cat >fish-completes <<'FISH'
source $argv[1]
while read -l line
    echo "$line|"(complete -C "$line" | string replace -r '\t.*' '' | string join ' ')
end
FISH
cat >zsh-completes <<'ZSH'
# A shell of its own prints the words that it would offer, in place of a menu.
zmodload zsh/zpty
zpty shell "TERM=dumb PS1= zsh -f -i"
zpty -w shell "fpath=(${1:h} \$fpath); autoload -Uz compinit; compinit -u -d $PWD/../dump"
zpty -w shell 'compadd() {
    local -a offered
    if [[ " $* " == *" -"[ODA]" "* ]]; then builtin compadd "$@"; return; fi
    builtin compadd -O offered "$@"
    print -r -- "<${(j: :)${(@o)offered}}>" >>../offered
    builtin compadd "$@"
}'
# Ctrl+U would not do: it removes what was typed, tab and all, while the line editor is not yet there.
zpty -w shell "bindkey '^I' complete-word '^G' kill-whole-line; setopt no_beep; PS1="
zpty -w shell "print -r -- rea''dy"
zpty -r -m shell seen '*ready*'
while IFS= read -r line; do
    : >../offered
    zpty -n -w shell "$line"$'\t\C-g'"print -r -- do''ne"$'\n'
    zpty -r -m shell seen '*done*'
    print -r -- "$line|$(sed -n 's/^<\(.*\)>$/\1/p' ../offered | grep . | head -n 1)"
done
ZSH
table=$(
    cat <<'TABLE'
tvtool serve --fault re|redirect-loop reset
tvtool details read --p|--prefs
tvtool config get Calyx.nwc B|Beta
tvtool config set Calyx.nwc A|Alpha
tvtool prefs get C|Colour
tvtool prefs e|export
tvtool prefs import C|Calyx.nwc
tvtool config diff Calyx.nwc C|Calyx.nwc
tvtool config sa|salvage
tvtool config show --d|--damaged
tvtool serve --log C|Calyx.nwc
tvtool doctor --b|--bundle
tvtool doctor --color al|always
tvtool help con|config
tvtool help config e|edit
TABLE
)
for script in fish/tvtool.fish zsh/_tvtool; do
    shell=${script%/*}
    if command -v "$shell" >/dev/null; then
        expect "$shell completes otherwise" "$table" \
            "$(sed 's/|.*//' <<<"$table" | "$shell" "$shell-completes" "$completions/$script" |
                sed 's/=$//')"
    else
        echo "command-tree: skipped what $shell completes, because it is not installed"
    fi
done

exit "$failed"
