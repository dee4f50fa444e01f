# Completion of postdock(1) for bash: options that were not given yet, files, directories, and user
# names for recipients and senders.

# The directory in which a relative name of the configuration file is taken.
_postdock_workdir() {
    local i dir=/var/opt/morvex
    for ((i = 1; i < COMP_CWORD - 1; i++)); do
        case ${COMP_WORDS[i]} in
        -W | --workdir) dir=${COMP_WORDS[i + 1]} ;;
        esac
    done
    printf '%s\n' "$dir"
}

# The options that can still be given, each in both its forms.
_postdock_options() {
    local given=" ${COMP_WORDS[*]:1:COMP_CWORD-1} " option form
    for option in '-h --help' '-v --version' -ti -t -n -f -r -F '-C --configfile' '-W --workdir'; do
        for form in $option; do
            [[ $given != *" $form "* ]] || continue 2
        done
        printf '%s\n' "$option"
    done
}

_postdock() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} words=
    [[ " ${COMP_WORDS[*]:1:COMP_CWORD-1} " != *" -- "* ]] || prev=--
    COMPREPLY=()
    case $prev in
    -C | --configfile)
        compopt -o filenames 2>/dev/null
        if [[ $cur == /* ]]; then
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
        else
            mapfile -t COMPREPLY < <(cd -- "$(_postdock_workdir)" 2>/dev/null && compgen -f -- "$cur")
        fi
        ;;
    -W | --workdir)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$cur")
        ;;
    -F) ;;
    *)
        if [[ $cur == -* && $prev != -- && $prev != -[fr] ]]; then
            words=$(_postdock_options)
            mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
        else
            mapfile -t COMPREPLY < <(compgen -u -- "$cur")
        fi
        ;;
    esac
}

complete -F _postdock postdock
