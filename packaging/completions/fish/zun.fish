# Completion of zun for fish.

complete -c zun -f -a zun.create:// -d 'Add a reminder'
complete -c zun -s h -l help -d 'Print the options'
complete -c zun -l help-all -d 'Print the options together with those of Qt'
complete -c zun -l home -x -a '(__fish_complete_directories)' -d 'Keep every file in this folder'
complete -c zun -l background -d 'Start without a window'
complete -c zun -l version -d 'Print the version'
