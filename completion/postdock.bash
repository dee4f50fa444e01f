# Completion of postdock(1) for bash: options that can still be given, files, directories, and user
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

# The letters of the options that were given before the present word, one of them for each long
# name; with "." behind a recipient, where options end. Flags that are dropped do not count.
_postdock_given() {
    local i j word letters=
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case ${word,,} in
        --help) word=-h ;;
        --version) word=-v ;;
        --configfile) word=-C ;;
        --workdir) word=-W ;;
        esac
        case $word in
        -[hvtnfrFCW]*)
            for ((j = 1; j < ${#word}; j++)); do
                letters+=${word:j:1}
                if [[ ${word:j:1} == [frFCW] ]]; then
                    ((j + 1 < ${#word})) || i=$((i + 1)) # its value: the rest, or the next word
                    break
                fi
            done
            ;;
        -*) ;;
        *) letters+=. ;;
        esac
    done
    printf '%s\n' "$letters"
}

# The options that can still be given, each in both its forms; "i" is heard behind another flag only.
_postdock_options() {
    local given option letters
    given=$(_postdock_given)
    [[ $given != *.* ]] || return
    for option in '-h --help' '-v --version' -ti -ni -t -n -f -r -F '-C --configfile' '-W --workdir'; do
        letters=${option%% *}
        [[ $given == *["${letters#-}"]* ]] || printf '%s\n' "$option"
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
