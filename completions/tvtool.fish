# Completion of tvtool for fish.
set -l commands config apply details prefs registry serve

complete -c tvtool -s h -l help -d 'Show help'
complete -c tvtool -n "not __fish_seen_subcommand_from $commands" -f -l version -d 'Show the version'
complete -c tvtool -n "not __fish_seen_subcommand_from $commands" -f -a "$commands"

function __tvtool_wants_action
    set -l words (commandline -opc)
    test (count $words) -eq 2; and test $words[2] = $argv[1]
end

complete -c tvtool -n '__tvtool_wants_action config' -f -a 'create show get set unset verify'
complete -c tvtool -n '__tvtool_wants_action details' -f -a 'read write check'
complete -c tvtool -n '__tvtool_wants_action prefs' -f -a 'list get set delete'
complete -c tvtool -n '__tvtool_wants_action registry' -f -a 'show get verify app'

complete -c tvtool -n '__fish_seen_subcommand_from config' -l from -r -d 'Text or JSON'
complete -c tvtool -n '__fish_seen_subcommand_from config' -l dry-run -d 'Write nothing'
complete -c tvtool -n '__fish_seen_subcommand_from config' -l diff -d 'Show what changes'
complete -c tvtool -n '__fish_seen_subcommand_from apply details' -l config -r -d 'Configuration file'
complete -c tvtool -n '__fish_seen_subcommand_from apply' -l set -x -d 'NAME=VALUE'
complete -c tvtool -n '__fish_seen_subcommand_from apply' -l delimiters -x -d 'Two characters'
complete -c tvtool -n '__fish_seen_subcommand_from apply' -l list -d 'Name the placeholders'
complete -c tvtool -n '__fish_seen_subcommand_from apply' -l strict -d 'Fail on an undefined one'
complete -c tvtool -n '__fish_seen_subcommand_from details' -l prefs -d 'The preferences'
complete -c tvtool -n '__fish_seen_subcommand_from details' -l from -r -d 'JSON'
complete -c tvtool -n '__fish_seen_subcommand_from details' -l first-name -x
complete -c tvtool -n '__fish_seen_subcommand_from details' -l last-name -x
complete -c tvtool -n '__fish_seen_subcommand_from details' -l organisation -x
complete -c tvtool -n '__fish_seen_subcommand_from details' -l email -x
complete -c tvtool -n '__fish_seen_subcommand_from details' -l send -d 'To the registration'
complete -c tvtool -n '__fish_seen_subcommand_from details' -l to -x -d 'Address to send to'
complete -c tvtool -n '__fish_seen_subcommand_from details' -l wait -x -d 'Seconds'
complete -c tvtool -n '__fish_seen_subcommand_from details' -l dry-run -d 'Print the request'
complete -c tvtool -n '__fish_seen_subcommand_from serve' -f
complete -c tvtool -n '__fish_seen_subcommand_from serve' -l port -x -d 'Listen on it'
complete -c tvtool -n '__fish_seen_subcommand_from serve' -l tls -r -d 'Certificate and key'
complete -c tvtool -n '__fish_seen_subcommand_from serve' -l once -d 'End after the first registration'
complete -c tvtool -n '__fish_seen_subcommand_from serve' -l fault -x -d 'Misbehave' \
    -a 'stall slow reset truncate redirect-loop status='
complete -c tvtool -n "__fish_seen_subcommand_from $commands" -l json -d 'For machines'
