#!/usr/bin/env bash
# Asks the bash completion what it offers, and presses Tab in an interactive bash.
# Usage: completion.bash DIRECTORY-OF-COMPLETIONS
set -u
completion=$(realpath "$1")/convertquorvlogs.bash
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
mkdir -p logs/deep 'my card' Y.LOG
touch -- a.LOG b.log notes.txt 'my card/c d.LOG' logs/x.LOG logs/x.csv -dash.LOG

# shellcheck source=/dev/null
source "$completion"
# shellcheck disable=SC2317 # called by the completion; bash's own wants a completion under way
compopt() { :; }

failures=0
# expect 'OFFERED|OFFERED' WORD...
expect() {
    local wanted=$1 offered
    shift
    COMP_WORDS=(convertquorvlogs "$@")
    COMP_CWORD=$#
    COMPREPLY=(left over)
    _convertquorvlogs
    offered=$(printf '%s\n' "${COMPREPLY[@]}" | sort | paste -s -d '|')
    wanted=$(tr '|' '\n' <<<"$wanted" | sort | paste -s -d '|')
    if [[ $offered != "$wanted" ]]; then
        echo "'$*' offers '$offered' instead of '$wanted'"
        failures=1
    fi
}

expect '-a|--all|--detail|-d|--dynamicInfo|-s|--soc|-w|--wide|--startdate|--starttime|--enddate|'\
'--endtime|-h|--help|-v|--version' -
expect '--startdate|--starttime' --start
expect '--startdate' --starttime 08 --startd
expect 'Y.LOG|a.LOG|logs|my card' ''
expect 'logs/deep|logs/x.LOG' logs/
expect 'my card/c d.LOG' 'my card/'
expect '' n
expect '' b
expect '' --startdate ''
expect '' --starttime ''
expect '' --enddate l
expect '' --endtime -
expect 'Y.LOG|a.LOG|logs|my card' --enddate 2020-05-01 -a ''
expect 'logs' --startdate 1 --starttime 2 --enddate 3 --endtime 4 l
expect '' a.LOG ''
expect '--wide' a.LOG --wi
[[ $(complete -p convertquorvlogs) == 'complete -F _convertquorvlogs convertquorvlogs' ]] || failures=1

# Tab in a terminal: a command that shows its arguments, completed like the tool.
cat >bashrc <<END
source '$completion'
complete -F _convertquorvlogs show
show() { printf '<%s>' "\$@" >>'$work/shown'; }
END
printf '%s\r' $'show lo\tx\t' $'show my\tc\t' $'show "my c\tc\t' $'show --dyn\tn\t' exit |
    timeout 20 script -qec 'bash --noprofile --rcfile bashrc -i' /dev/null >terminal
shown=$(cat shown)
wanted='<logs/x.LOG><my card/c d.LOG><my card/c d.LOG><--dynamicInfo><n>'
if [[ $shown != "$wanted" ]]; then
    echo "the terminal shows '$shown' instead of '$wanted'"
    failures=1
fi
exit $failures
