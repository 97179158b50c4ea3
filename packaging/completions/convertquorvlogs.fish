# fish completion for convertquorvlogs

# Directories and logs; nothing if the line names one already.
function __convertquorvlogs_paths
    set -l value 0
    for word in (commandline -opc)[2..]
        if test $value = 1
            set value 0
        else if contains -- $word --startdate --starttime --enddate --endtime
            set value 1
        else if not string match -q -- '-*' $word
            return
        end
    end
    # What fish itself would offer for an unknown command, without the descriptions.
    for path in (complete -C "'' "(commandline -ct) | string replace -r '\t.*' '')
        if string match -qr -- '^[^-].*(/|\.LOG)$' $path
            echo $path
        end
    end
end

complete -c convertquorvlogs -f -a '(__convertquorvlogs_paths)'
# Short options are given as old-style ones, since they can't be joined.
complete -c convertquorvlogs -o a -l all -d 'produce all output files'
complete -c convertquorvlogs -l detail -d 'produce the detailed output files'
complete -c convertquorvlogs -o d -l dynamicInfo -d 'produce dynamicInfo.csv'
complete -c convertquorvlogs -o s -l soc -d 'produce soc.csv'
complete -c convertquorvlogs -o w -l wide -d 'produce wide.csv'
complete -c convertquorvlogs -l startdate -x -d 'set the starting date (YYYY-MM-DD)'
complete -c convertquorvlogs -l starttime -x -d 'set the starting time (HH:MM:SS)'
complete -c convertquorvlogs -l enddate -x -d 'set the ending date (YYYY-MM-DD)'
complete -c convertquorvlogs -l endtime -x -d 'set the ending time (HH:MM:SS)'
complete -c convertquorvlogs -o h -l help -d 'display help'
complete -c convertquorvlogs -o v -l version -d 'display version'
