#!/usr/bin/env bash
# Runs the examples of the manual pages and of README.md, and compares what they print with what the
# page shows.
#
#   examples.sh TVTOOL LIBRARIES SOURCE COMPILER SANITIZERS PAGE...
#
# The paths are absolute. COMPILER builds C programs, with SANITIZERS if they are not empty. A page's
# examples run one after another in a folder of their own. An example that begins with "$ " is what a
# terminal shows. Any other is the contents of the file that the text before it names last, with .Pa or,
# in README.md, in backquotes. In what is shown, "..." stands for any text, a line of it alone for any
# lines, and 8080 for another port.
set -uo pipefail
export LC_ALL=C.UTF-8 CPATH="$3/include:$3/platform/include" LIBRARY_PATH=$2 LD_LIBRARY_PATH=$2
unset XDG_CONFIG_HOME XDG_DATA_HOME TV_SYSTEM_ENCODING http_proxy https_proxy HTTPS_PROXY all_proxy ALL_PROXY
PATH="${1%/*}:$PATH" compiler=$4 sanitize=${5:+-fsanitize=$5} failed=0
shift 5
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkfifo "$scratch/said"
exec 5<>"$scratch/said"
port=$((20000 + $$ % 10000)) # The system itself gives out higher ports.

cc() { "$compiler" "$@"; }
pkg-config() { echo "-Wall -Wextra -Werror $sanitize -lTVframework -ltvplatform"; }

# Runs a command as typed. One in the background first says one line.
execute() {
    printf '$ %s\n' "$1"
    if [[ $1 == *' &' ]]; then
        eval "$1" 2>&5
        read -r -u 5 line && printf '%s\n' "$line"
    else
        eval "$1" </dev/null 2>&1
    fi
}
# Runs the commands in "$block", and compares.
run_session() {
    local shown=$scratch/shown pattern='' line
    while IFS= read -r line; do
        pattern+=$(sed -E 's/[^[:alnum:]]/\\&/g; s/(\\\.){3}/*/g' <<<"$line")
        [ "$line" = ... ] || pattern+=$'\n'
        [[ $line != '$ '* ]] || execute "${line:2}"
    done <<<"${block%?}" >"$shown"
    # shellcheck disable=SC2046
    kill $(jobs -p) 2>/dev/null
    wait
    # shellcheck disable=SC2053
    if [[ $(<"$shown")$'\n' != $pattern ]]; then
        printf 'examples: %s: what is printed (+) is not what is shown (-)\n' "$page" >&2
        diff -u - "$shown" <<<"${block%?}" >&2
        failed=1
    fi
}

for page in "$@"; do
    export HOME="$scratch/${page##*/}" TV_MACHINE_DATA_DIR="$scratch/none"
    mkdir "$HOME" && cd "$HOME" || exit
    inside=''
    while IFS= read -r line <&6; do
        case $line in
            '.Bd -literal'*) inside=yes block='' ;;
            .Ed)
                inside=''
                if [[ $block == '$ '* ]]; then run_session; else printf '%s' "$block" >"$name"; fi
                ;;
            '.Pa '*) name=${line#.Pa } name=${name%% *} ;;
            *) [ -z "$inside" ] || block+=$line$'\n' ;;
        esac
    done 6< <(sed -E "s/\\\\\(aq/'/g; s/\\\\&//; s/\\\\e/\\\\/g; s/8080/$port/g
        s/^\`\`\`[a-z]+\$/.Bd -literal/; s/^\`\`\`\$/.Ed/; s/.*\`([a-z]+\.c)\`.*/.Pa \1/" "$page")
done
exit "$failed"
