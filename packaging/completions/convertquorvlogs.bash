# bash completion for convertquorvlogs

_convertquorvlogs() {
    local word=${COMP_WORDS[COMP_CWORD]} i candidate path='' candidates=()

    # Dates and times are for the user to type.
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --startdate | --starttime | --enddate | --endtime)
        COMPREPLY=()
        return
        ;;
    esac

    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '-a --all --detail -d --dynamicInfo -s --soc -w --wide
            --startdate --starttime --enddate --endtime -h --help -v --version' -- "$word")
        return
    fi

    # A directory or a log, unless the line names one already.
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        --startdate | --starttime | --enddate | --endtime) ((++i)) ;;
        -*) ;;
        *) path=${COMP_WORDS[i]} ;;
        esac
    done
    COMPREPLY=()
    [[ -z $path ]] || return
    compopt -o filenames
    mapfile -t candidates < <(compgen -f -- "$word")
    for candidate in "${candidates[@]}"; do
        if [[ $candidate != -* && ($candidate == *.LOG || -d $candidate) ]]; then
            COMPREPLY+=("$candidate")
        fi
    done
}

complete -F _convertquorvlogs convertquorvlogs
