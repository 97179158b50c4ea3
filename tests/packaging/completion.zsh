#!/usr/bin/env zsh
# Presses Tab in a real zsh and compares what the completion offers.
# Usage: completion.zsh DIRECTORY-OF-COMPLETIONS
completions=$1:A
work=$(mktemp -d)
trap 'rm -rf $work' EXIT
cd $work
mkdir -p logs/deep 'my card' Y.LOG
touch -- a.LOG b.log notes.txt 'my card/c d.LOG' logs/x.LOG logs/x.csv -dash.LOG

# An interactive zsh whose compadd also writes down what is added.
cat > .zshrc <<END
fpath=($completions \$fpath)
autoload -U compinit
compinit -u -D
compadd() {
    if [[ \${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
        local -a offered
        builtin compadd -O offered "\$@"
        (( \$#offered )) && print -rl -- \$offered >> $work/offered
    fi
    builtin compadd "\$@"
}
press-tab() { _main_complete; print >> $work/done }
zle -C press-tab complete-word press-tab
bindkey '^I' press-tab
bindkey '^U' kill-whole-line
PROMPT= RPROMPT=
print > $work/ready
END
zmodload zsh/zpty zsh/zselect
zpty -b shell "ZDOTDIR=$work TERM=dumb zsh -i"
await() {
    local tries
    for ((tries = 0; tries < 1000; ++tries)); do
        zpty -rt shell >/dev/null 2>&1
        [[ -e $1 ]] && return
        zselect -t 2
    done
    print "no $1:t" >&2
    exit 1
}
await $work/ready

known=(-a --all --detail -d --dynamicInfo -s --soc -w --wide
    --startdate --starttime --enddate --endtime -h --help -v --version)
failures=0
# expect LINE OFFERED...
expect() {
    local line=$1 wanted=${(F)${(o)@[2,-1]}} offered
    rm -f $work/offered $work/done
    zpty -w -n shell $'\C-u'$line$'\t'
    await $work/done
    offered=${(F)${(Q)${(ou)${(f)"$(cat $work/offered 2>/dev/null)"}}}}
    if [[ $offered != $wanted ]]; then
        print -r -- "'$line' offers" $offered "instead of" $wanted
        failures=1
    fi
}

expect 'convertquorvlogs -' $known
expect 'convertquorvlogs --start' --startdate --starttime
expect 'convertquorvlogs --starttime 08 --startd' --startdate
expect 'convertquorvlogs ' Y.LOG a.LOG logs 'my card'
expect 'convertquorvlogs logs/' deep x.LOG
expect 'convertquorvlogs my\ card/' 'c d.LOG'
expect 'convertquorvlogs n'
expect 'convertquorvlogs b'
expect 'convertquorvlogs --startdate '
expect 'convertquorvlogs --endtime '
expect 'convertquorvlogs --enddate 2020-05-01 -a ' Y.LOG a.LOG logs 'my card'
expect 'convertquorvlogs --startdate 1 --starttime 2 --enddate 3 --endtime 4 l' logs
expect 'convertquorvlogs a.LOG ' $known
expect 'convertquorvlogs a.LOG --wi' --wide
zpty -d shell
exit $failures
