# Completion of vantrel(1) for fish.
set -l commands status doctor scan quarantine explain test
set -l actions list restore delete check
complete -c vantrel -f
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -a status -d 'Say whether the folders are guarded'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -a doctor -d 'Look at everything that has to be well'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -a scan -d 'Scan files and folders now'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -a quarantine -d 'List, restore, delete or check what lies in quarantine'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -a explain -d 'Say whether a file is guarded, and why'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -a test -d 'Try the whole way of a file with a harmless one'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -l page -x -a 'overview results quarantine folders settings scan planned start help' -d 'Show that page'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -l open -r -F -d 'Show the page that scans, with these'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -l help -d 'Say how it is used'
complete -c vantrel -n "not __fish_seen_subcommand_from $commands" -l version -d 'Say which version it is'
complete -c vantrel -n "__fish_seen_subcommand_from $commands" -l json -d 'Print one document'
complete -c vantrel -n '__fish_seen_subcommand_from scan explain' -F
complete -c vantrel -n "__fish_seen_subcommand_from restore delete check" -l all -d 'All that lie there'
complete -c vantrel -n "__fish_seen_subcommand_from restore" -l to -x -a '(__fish_complete_directories)' -d 'Into that folder'
complete -c vantrel -n "__fish_seen_subcommand_from restore" -l make-folder -d 'Make the folder anew that is gone'
complete -c vantrel -n "__fish_seen_subcommand_from quarantine; and __fish_seen_subcommand_from $actions" -F
complete -c vantrel -n "__fish_seen_subcommand_from quarantine; and not __fish_seen_subcommand_from $actions" -a "$actions"
