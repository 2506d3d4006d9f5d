# Completion of zunctl for fish.

# The command that stands on the line, if there is one.
function __zunctl_command
    set -l words (commandline -opc)
    set -l skip 0
    for word in $words[2..-1]
        if test $skip = 1
            set skip 0
        else if test "$word" = --home
            set skip 1
        else if not string match -q -- '-*' $word
            echo $word
            return 0
        end
    end
    return 1
end

function __zunctl_needs_command
    not __zunctl_command >/dev/null
end

function __zunctl_is
    set -l command (__zunctl_command)
    and contains -- $command $argv
end

# The reminders that the command can act on, each with its title.
function __zunctl_reminders
    set -l words (commandline -opc)
    set -l kind --all
    switch (__zunctl_command)
        case uncomplete
            set kind --completed
        case complete snooze
            set kind --upcoming
    end
    set -l home
    for at in (seq (count $words))
        if test "$words[$at]" = --home; and set -q words[(math $at + 1)]
            set home (string replace -r '^~(?=/|$)' $HOME -- $words[(math $at + 1)])
        else if string match -q -- '--home=*' $words[$at]
            set home (string replace -- --home= '' $words[$at])
        end
    end
    if set -q home[1]
        # Listing would make the folder that is still being typed.
        test -d $home; or return
        set home --home $home
    end
    $words[1] $home list $kind 2>/dev/null | string match -r '^\S+  .*' | string replace '  ' \t
end

# Today, tomorrow and in a week.
function __zunctl_dates
    for after in 0 1 7
        date -d "$after days" +%Y-%m-%d
    end
end

# The weekdays that may follow those that stand there already.
function __zunctl_weekdays
    set -l before (string match -r '.*,' -- (commandline -ct | string replace -r '^--on=' ''))
    for day in mon tue wed thu fri sat sun
        string match -q -- "*$day,*" "$before"; or echo $before$day
    end
end

complete -c zunctl -f
complete -c zunctl -s h -l help -d 'Print the options'
complete -c zunctl -l home -x -a '(__fish_complete_directories)' -d 'Keep every file in this folder'
complete -c zunctl -l json -d 'Answer in JSON'
complete -c zunctl -n __zunctl_needs_command -l version -d 'Print the version'

for line in \
        'add:Add a reminder' \
        'edit:Change the named fields of a reminder' \
        'open:Add a reminder from a zun.create link' \
        'list:List reminders' \
        'show:Show one reminder' \
        'copy:Print a reminder as text to pass on' \
        'occurrences:The dates of a repeat between two moments' \
        'count:How many are active, and how many there are' \
        'check:Say whether a text is simple or complex' \
        'alerts:List the alerts to come' \
        'complete:Complete a reminder' \
        'uncomplete:Take a completion back' \
        'snooze:Put a reminder off' \
        'unsnooze:Take a snooze back' \
        'skip:Send the top card to the bottom' \
        'delete:Delete a reminder' \
        'export:Print every record as a line of JSON' \
        'import:Read records back' \
        'sweep:Remove doubles and what is old' \
        'doctor:Check the store and repair it' \
        'account:The account at a record service' \
        'cloud:Switch the sync on or off' \
        'sync:Bring this device and the account into step' \
        'conflicts:What the sync replaced or deleted'
    set -l parts (string split -m 1 : $line)
    complete -c zunctl -n __zunctl_needs_command -a $parts[1] -d $parts[2]
end

complete -c zunctl -n '__zunctl_is edit show copy occurrences complete uncomplete snooze unsnooze delete' \
    -k -a '(__zunctl_reminders)'
complete -c zunctl -n '__zunctl_is account; and not __fish_seen_subcommand_from create login logout status devices' \
    -a 'create login logout status devices'
complete -c zunctl -n '__zunctl_is cloud; and not __fish_seen_subcommand_from on off' -a 'on off'
complete -c zunctl -n '__zunctl_is open' -a zun.create://
complete -c zunctl -n '__zunctl_is import' -F

set -l fields '__zunctl_is add edit'
complete -c zunctl -n $fields -l notes -x -d 'Free text'
complete -c zunctl -n $fields -l checklist -x -d 'One item a line'
complete -c zunctl -n $fields -l date -x -k -a '(__zunctl_dates)' -d 'When it is due'
complete -c zunctl -n $fields -l repeat -x -k -a 'none daily weekly monthly yearly' -d 'How it repeats'
complete -c zunctl -n $fields -l every -x -k -a '1 2 3 4' -d 'Every so many days, weeks, months or years'
complete -c zunctl -n $fields -l on -x -k -a '(__zunctl_weekdays)' -d 'Weekdays of a weekly repeat'
complete -c zunctl -n $fields -l until -x -k -a '(__zunctl_dates)' -d 'The last date'
complete -c zunctl -n $fields -l early -x -k -a '10m 30m 1h 2h 1d 1w' -d 'How much earlier'
complete -c zunctl -n $fields -l nag -d 'Alert three more times'
complete -c zunctl -n $fields -l quiet -d 'No alerts'

complete -c zunctl -n '__zunctl_is add' -l parse -d 'Read the date from the title'

set -l editing '__zunctl_is edit'
complete -c zunctl -n $editing -l title -x -d 'What to be reminded of'
complete -c zunctl -n $editing -l no-notes -d 'Take the notes away'
complete -c zunctl -n $editing -l no-checklist -d 'Take the checklist away'
complete -c zunctl -n $editing -l no-date -d 'Make it open-ended'
complete -c zunctl -n $editing -l no-until -d 'Let it repeat without an end'
complete -c zunctl -n $editing -l no-nag -d 'Alert once'
complete -c zunctl -n $editing -l alerts -d 'Alert again'

set -l listing '__zunctl_is list'
complete -c zunctl -n $listing -l deck -d 'What is on the cards'
complete -c zunctl -n $listing -l upcoming -d 'Everything that is not done'
complete -c zunctl -n $listing -l completed -d 'What is done'
complete -c zunctl -n $listing -l all -d 'Everything stored'
complete -c zunctl -n $listing -l search -x -d 'Only titles that hold this'

complete -c zunctl -n '__zunctl_is occurrences' -l from -x -k -a '(__zunctl_dates)' -d 'After this moment'
complete -c zunctl -n '__zunctl_is occurrences' -l to -x -k -a '(__zunctl_dates)' -d 'Before this moment'
complete -c zunctl -n '__zunctl_is alerts' -l delivered -d 'Those that have come and still stand'
complete -c zunctl -n '__zunctl_is snooze' -l until -x -k -a '(__zunctl_dates)' -d 'Until this moment'
complete -c zunctl -n '__zunctl_is conflicts' -l restore -x -d 'Bring this version back'

complete -c zunctl -n '__zunctl_is account; and __fish_seen_subcommand_from devices' -l revoke -x \
    -d 'Sign this one out'

set -l entering '__zunctl_is account; and __fish_seen_subcommand_from create login'
complete -c zunctl -n $entering -l service -x -d 'The address of the service'
complete -c zunctl -n $entering -l name -x -d "The account's name"
complete -c zunctl -n $entering -l device -x -d 'What the list of devices calls this one'
complete -c zunctl -n $entering -l trust -x -d 'Accept the certificate with this fingerprint'
complete -c zunctl -n $entering -l password-stdin -d 'Read the password from standard input'
set -l creating '__zunctl_is account; and __fish_seen_subcommand_from create'
complete -c zunctl -n $creating -l display-name -x -d 'What others see'
complete -c zunctl -n $creating -l email -x -d 'For invitations to shared reminders'
complete -c zunctl -n $creating -l invitation -x -d 'A code, where the service wants one'
