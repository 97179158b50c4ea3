# bash completion for convertquorvlogs

_convertquorvlogs() {
    local word=${COMP_WORDS[COMP_CWORD]} each path='' candidates=()

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
    for ((each = 1; each < COMP_CWORD; ++each)); do
        case ${COMP_WORDS[each]} in
        --startdate | --starttime | --enddate | --endtime) ((++each)) ;;
        -*) ;;
        *) path=${COMP_WORDS[each]} ;;
        esac
    done
    COMPREPLY=()
    [[ -z $path ]] || return
    compopt -o filenames
    mapfile -t candidates < <(compgen -f -- "$word")
    for each in "${candidates[@]}"; do
        if [[ $each != -* && ($each == *.LOG || -d $each) ]]; then
            COMPREPLY+=("$each")
        fi
    done
}

complete -F _convertquorvlogs convertquorvlogs
