# Completion of tvtool for bash.
_tvtool() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' action='' word words=''
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
            -*) ;;
            *)
                if [ -z "$command" ]; then
                    command=$word
                elif [ -z "$action" ]; then
                    action=$word
                fi
                ;;
        esac
    done
    case $previous in
        --from | --config | --tls)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames
            return
            ;;
        --fault)
            mapfile -t COMPREPLY < <(compgen -W "stall slow reset truncate redirect-loop status=" \
                -- "$current")
            return
            ;;
    esac
    case $command/$action in
        /) words='config apply details prefs registry serve --help --version' ;;
        config/) words='create show get set unset verify --help' ;;
        details/) words='read write check --help' ;;
        prefs/) words='list get set delete --help' ;;
        registry/) words='show get verify app --help' ;;
        config/create) words='--from --force --help' ;;
        config/show | config/get | config/verify) words='--json --help' ;;
        config/set | config/unset) words='--dry-run --diff --help' ;;
        apply/*) words='--config --set --delimiters --list --json --strict --help' ;;
        details/read) words='--config --prefs --json --help' ;;
        details/write) words='--first-name --last-name --organisation --email --from
            --send --to --wait --dry-run --help' ;;
        details/check) words='--json --help' ;;
        prefs/list | prefs/get | registry/show) words='--json --help' ;;
        serve/*) words='--port --tls --json --once --fault --help' ;;
        *) words='--help' ;;
    esac
    if [ -n "$action" ] || [ "$command" = apply ]; then
        if [[ $current != -* ]] && [ "$command" != prefs ]; then
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames
            return
        fi
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _tvtool tvtool
