# fish completion for tobrel-admin

set -l subcommands domain item server key pins doctor
function __tobrel_admin_domains
    tobrel-admin domain list 2>/dev/null | string replace -r '\t.*' ''
end
# Whether the words typed so far, options left out, are these and nothing more.
function __tobrel_admin_at
    set -l words (commandline -opc | string match -v -- '-*')
    test "$words[2..-1]" = "$argv"
end
complete -c tobrel-admin -f
complete -c tobrel-admin -n __tobrel_admin_at -a "$subcommands"
complete -c tobrel-admin -n '__tobrel_admin_at domain' -a 'add remove list'
complete -c tobrel-admin -n '__tobrel_admin_at item' -a 'add remove list import'
complete -c tobrel-admin -n '__tobrel_admin_at key' -a 'set delete status'
complete -c tobrel-admin -n '__tobrel_admin_at pins' -a take
for words in 'domain remove' 'item add' 'item remove' 'item list' 'item import'
    complete -c tobrel-admin -n "__tobrel_admin_at $words" -a '(__tobrel_admin_domains)'
end
complete -c tobrel-admin -n '__fish_seen_subcommand_from add' -F
complete -c tobrel-admin -l home -x -a '(__fish_complete_directories)' -d 'use a folder in place of the home folder'
complete -c tobrel-admin -l json -d 'one JSON object a line'
complete -c tobrel-admin -l account -x -d 'the keychain item\'s account'
complete -c tobrel-admin -n '__tobrel_admin_at key set' -l store -x -a 'keychain file' -d 'where the key is kept'
complete -c tobrel-admin -l help -d 'print the usage'
complete -c tobrel-admin -l version -d 'print the version'
