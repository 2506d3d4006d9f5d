# Completion of zun-cloud for fish.

# The command that stands on the line, with that below it.
function __zun_cloud_is
    set -l words (commandline -opc)
    set -l command
    for word in $words[2..-1]
        if not string match -q -- '-*' $word
            set -a command $word
        end
    end
    string match -q -- "$argv*" "$command"; and test -n "$command"
end

complete -c zun-cloud -f
complete -c zun-cloud -s h -l help -d 'Print the options'
complete -c zun-cloud -n __fish_use_subcommand -l version -d 'Print the version'
complete -c zun-cloud -n __fish_use_subcommand -a serve -d 'Serve until stopped'
complete -c zun-cloud -n __fish_use_subcommand -a account -d 'Accounts'
complete -c zun-cloud -n __fish_use_subcommand -a invite -d 'Print a code for one account'
complete -c zun-cloud -n __fish_use_subcommand -a backup -d 'Write everything into one file'
complete -c zun-cloud -n __fish_use_subcommand -a restore -d 'Read a backup back'
complete -c zun-cloud -n __fish_use_subcommand -a check -d 'See whether everything fits together'
complete -c zun-cloud -n __fish_use_subcommand -a stats -d 'Count what there is'
complete -c zun-cloud -n '__zun_cloud_is account; and not __fish_seen_subcommand_from add list disable passwd' -a 'add list disable passwd'
complete -c zun-cloud -n '__zun_cloud_is backup; or __zun_cloud_is restore' -F
complete -c zun-cloud -n '__zun_cloud_is serve' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is serve' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is serve' -l listen -x -d 'HOST:PORT or unix:PATH'
complete -c zun-cloud -n '__zun_cloud_is serve' -l tls-cert -r -F -d 'Certificate with its chain'
complete -c zun-cloud -n '__zun_cloud_is serve' -l tls-key -r -F -d 'Its private key'
complete -c zun-cloud -n '__zun_cloud_is serve' -l registration -x -a 'open invite closed' -d 'Who may make accounts'
complete -c zun-cloud -n '__zun_cloud_is serve' -l health-listen -x -d 'Address of health and metrics'
complete -c zun-cloud -n '__zun_cloud_is serve' -l share-url -x -d 'What the addresses of shares begin with'
complete -c zun-cloud -n '__zun_cloud_is serve' -l allow-plain -d 'Serve other machines without TLS'
complete -c zun-cloud -n '__zun_cloud_is serve' -l behind-proxy -d 'Take addresses of clients from X-Forwarded-For'
complete -c zun-cloud -n '__zun_cloud_is serve' -l quota-mib -x -d 'Room of an account'
complete -c zun-cloud -n '__zun_cloud_is serve' -l requests-per-second -x -d 'Of a device'
complete -c zun-cloud -n '__zun_cloud_is serve' -l keep-deletions-days -x -d 'How long a device may stay away'
complete -c zun-cloud -n '__zun_cloud_is serve' -l threads -x -d 'How many answer'
complete -c zun-cloud -n '__zun_cloud_is serve' -l log-requests -d 'Log each request'
complete -c zun-cloud -n '__zun_cloud_is account add' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is account add' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is account add' -l display-name -x -d 'The name that others see'
complete -c zun-cloud -n '__zun_cloud_is account add' -l email -x -d 'Its e-mail address'
complete -c zun-cloud -n '__zun_cloud_is account add' -l password-stdin -d 'Read the password from the input'
complete -c zun-cloud -n '__zun_cloud_is account list' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is account list' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is account list' -l json -d 'As JSON'
complete -c zun-cloud -n '__zun_cloud_is account disable' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is account disable' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is account disable' -l undo -d 'Take it again'
complete -c zun-cloud -n '__zun_cloud_is account passwd' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is account passwd' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is account passwd' -l password-stdin -d 'Read the password from the input'
complete -c zun-cloud -n '__zun_cloud_is invite' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is invite' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is invite' -l days -x -d 'How long the code is good'
complete -c zun-cloud -n '__zun_cloud_is backup' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is backup' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is restore' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is restore' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is restore' -l replace -d 'Lose the accounts that are there'
complete -c zun-cloud -n '__zun_cloud_is check' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is check' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is stats' -l data -x -a '(__fish_complete_directories)' -d 'Keep the records in this folder'
complete -c zun-cloud -n '__zun_cloud_is stats' -l database -x -d 'Keep them in PostgreSQL'
complete -c zun-cloud -n '__zun_cloud_is stats' -l json -d 'As JSON'
