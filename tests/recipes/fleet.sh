#!/bin/sh
# recipes/fleet and recipes/fleet.sbatch convert one directory per battery as the tool alone would,
# tell which failed, and go on where they stopped. The Slurm of one node is started here.
# Usage: fleet.sh parallel|slurm TOOL SOURCE
set -eu
how=$1 recipes=$3/recipes samples=$3/samples
PATH=$(dirname "$2"):$recipes:$PATH
export PATH
work=$(mktemp -d)
started=
trap '[ -z "$started" ] || kill $started; wait; rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "$1"
    exit 1
}

# Prints the batteries that failed.
convert() {
    if [ "$how" = parallel ]; then
        fleet logs out --jobs 2 --sshlogin : >printed 2>&1 || [ $? -eq 1 ]
        sed -n 's/^failed: //p' printed
    else
        sbatch --quiet --wait --output=/dev/null "--array=1-$(find logs -mindepth 1 -maxdepth 1 | wc -l)" \
            "$recipes/fleet.sbatch" logs out || true
        (cd logs && for b in *; do [ -e "../out/$b/.done" ] || echo "$b"; done)
    fi
}

if [ "$how" = slurm ]; then
    mkdir -m 700 munge state spool
    (umask 077 && head -c 1024 /dev/urandom >munge/key)
    cat >slurm.conf <<END
ClusterName=test
SlurmctldHost=localhost
SlurmUser=$(id -un)
SlurmdUser=$(id -un)
SlurmctldPort=16817
SlurmdPort=16818
AuthInfo=socket=$work/munge/socket
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
ReturnToService=2
NodeName=localhost CPUs=2 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
END
    export SLURM_CONF="$work/slurm.conf"
    munged --foreground --force --key-file="$work/munge/key" --socket="$work/munge/socket" \
        --pid-file="$work/munge/pid" --seed-file="$work/munge/seed" \
        --log-file="$work/munge/log" >/dev/null 2>&1 &
    started=$!
    for _ in $(seq 100); do [ ! -S munge/socket ] || break; sleep 0.1; done
    slurmctld -D >slurmctld.log 2>&1 &
    started="$started $!"
    slurmd -D -N localhost >slurmd.log 2>&1 &
    started="$started $!"
    for _ in $(seq 300); do
        [ "$(sinfo --noheader --format=%T 2>/dev/null || true)" != idle ] || break
        sleep 0.1
    done
fi

mkdir logs
for battery in damaged single-module-truck two-module-truck; do
    ln -s "$samples/$battery" logs
done
mkdir "logs/card failed"
ln -s nowhere "logs/card failed/1.LOG"

[ "$(convert)" = 'card failed' ] || fail 'the failure is not listed'
for battery in damaged single-module-truck two-module-truck; do
    [ "$(wc -l <"out/$battery/synopsis.csv")" -eq 1 ] || fail "$battery: no synopsis of its own"
    # The samples of a battery, converted without a recipe.
    mkdir alone
    ln -s "$samples/$battery"/*.LOG alone
    (cd alone && convertquorvlogs --all >/dev/null)
    for csv in wide dynamicInfo soc detail; do
        sort "alone/$csv.csv" >expected # logs are taken in the order of the directory
        sort "out/$battery/$csv.csv" | cmp - expected || fail "$battery: $csv.csv differs"
    done
    rm -r alone
done
[ ! -e synopsis.csv ] || fail 'a synopsis beside the fleet'

# The card is read at last, another battery comes: what was done is left alone.
touch -d 2020-01-01 out/two-module-truck/wide.csv
rm "logs/card failed/1.LOG"
cp "$samples/two-module-truck/20220304.LOG" "logs/card failed"
cp -r "logs/card failed" logs/another
[ -z "$(convert)" ] || fail 'a failure that there is not'
cmp out/another/dynamicInfo.csv "$3/tests/golden/two-module-truck/20220304/dynamicInfo.csv" ||
    fail 'the newcomer is not converted'
cmp out/another/detail.csv 'out/card failed/detail.csv'
[ "$(stat -c %Y out/two-module-truck/wide.csv)" -eq "$(date -d 2020-01-01 +%s)" ] ||
    fail 'what was done is done again'
