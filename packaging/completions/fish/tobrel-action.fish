# fish completion for tobrel-action

set -l commands keep unkeep share share-with manage online action
function __tobrel_action_bare --inherit-variable commands
    not __fish_seen_subcommand_from $commands
end
complete -c tobrel-action -n __tobrel_action_bare -f
complete -c tobrel-action -n __tobrel_action_bare -a keep -d 'make the items available offline'
complete -c tobrel-action -n __tobrel_action_bare -a unkeep -d 'make the items online-only'
complete -c tobrel-action -n __tobrel_action_bare -a share -d 'create or copy a share link'
complete -c tobrel-action -n __tobrel_action_bare -a share-with -d 'share a folder with another user'
complete -c tobrel-action -n __tobrel_action_bare -a manage -d 'see and end a folder\'s sharing, or leave it'
complete -c tobrel-action -n __tobrel_action_bare -a online -d 'open the item in the web interface'
complete -c tobrel-action -n __tobrel_action_bare -a action -d 'deliver any action identifier'
complete -c tobrel-action -l items-from -r -F -d 'read further items from a file'
complete -c tobrel-action -s 0 -l null -d 'the items of --items-from end in NUL'
complete -c tobrel-action -l domain -x -a '(tobrel-admin domain list 2>/dev/null | string replace -r "\t.*" "")' -d 'the request\'s domain'
complete -c tobrel-action -l front-end -x -a 'gtk terminal json batch' -d 'how the sheet is shown'
complete -c tobrel-action -l home -x -a '(__fish_complete_directories)' -d 'use a folder in place of the home folder'
complete -c tobrel-action -l log -x -a 'stderr journal none' -d 'where the log goes'
set -l share '__fish_seen_subcommand_from share'
set -l manage '__fish_seen_subcommand_from manage'
complete -c tobrel-action -n $share -l days -x -d 'a new link that expires after some days'
complete -c tobrel-action -n $share -l no-expiry -d 'a new link that does not expire'
complete -c tobrel-action -n $share -l new -d 'a new link even where there is a live one'
complete -c tobrel-action -n '__fish_seen_subcommand_from share-with' -l email -x -d 'the other user'
complete -c tobrel-action -n '__fish_seen_subcommand_from share-with' -l role -x -a 'view edit' -d 'what they may do'
complete -c tobrel-action -n $manage -l stop -x -d 'stop sharing with a user'
complete -c tobrel-action -n $manage -l leave -d 'leave a folder that somebody else shared'
complete -c tobrel-action -l json -d 'batch: one JSON object a line'
complete -c tobrel-action -l help -d 'print the usage'
complete -c tobrel-action -l version -d 'print the version'
