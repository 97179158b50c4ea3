#!/usr/bin/env fish
# Asks fish what it offers for a line.
# Usage: completion.fish DIRECTORY-OF-COMPLETIONS
source $argv[1]/convertquorvlogs.fish
set work (mktemp -d)
cd $work
mkdir -p logs/deep 'my card' Y.LOG
touch -- a.LOG b.log notes.txt 'my card/c d.LOG' logs/x.LOG logs/x.csv -dash.LOG

set failures 0
# expect LINE OFFERED...
function expect
    set offered (complete -C $argv[1] | string replace -r '\t.*' '' | sort)
    set wanted (string join \n -- $argv[2..] | sort)
    if test "$offered" != "$wanted"
        echo "'$argv[1]' offers '$offered' instead of '$wanted'"
        set failures 1
    end
end

expect 'convertquorvlogs -' -a --all --detail -d --dynamicInfo -s --soc -w --wide \
    --startdate --starttime --enddate --endtime -h --help -v --version
expect 'convertquorvlogs --start' --startdate --starttime
expect 'convertquorvlogs --starttime 08 --startd' --startdate
expect 'convertquorvlogs ' Y.LOG/ a.LOG logs/ 'my card/'
expect 'convertquorvlogs logs/' logs/deep/ logs/x.LOG
expect 'convertquorvlogs "my card/' 'my card/c d.LOG'
expect 'convertquorvlogs my\ card/' 'my card/c d.LOG'
expect 'convertquorvlogs n'
expect 'convertquorvlogs b'
expect 'convertquorvlogs --startdate '
expect 'convertquorvlogs --starttime '
expect 'convertquorvlogs --enddate l'
expect 'convertquorvlogs --endtime '
expect 'convertquorvlogs --enddate 2020-05-01 -a ' Y.LOG/ a.LOG logs/ 'my card/'
expect 'convertquorvlogs --startdate 1 --starttime 2 --enddate 3 --endtime 4 l' logs/
expect 'convertquorvlogs a.LOG '
expect 'convertquorvlogs a.LOG --wi' --wide

rm -rf $work
exit $failures
