# Completion of zun-alerts for fish.

complete -c zun-alerts -f
complete -c zun-alerts -s h -l help -d 'Print the options'
complete -c zun-alerts -l version -d 'Print the version'
complete -c zun-alerts -l home -x -a '(__fish_complete_directories)' -d 'Serve the reminders in this folder'
