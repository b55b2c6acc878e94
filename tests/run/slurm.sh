#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# slurm.sh PROGRAM EXAMPLES: hands the job scripts of the folder EXAMPLES to a Slurm of its own, ends
# jobs by signals and by scancel, and compares the fields with that of one process, bit for bit. The
# Slurm is one node with room for four processes; all of it lies in a temporary folder and ends with
# this script. It takes no rights but those of whoever starts it. Where it cannot be started the
# script says why and exits with 77.
set -euo pipefail

program=$(realpath "$1")
examples=$(realpath "$2")
PATH=$(dirname "$program"):$PATH:/usr/sbin
python=/usr/bin/python3

say() { printf '%s %s\n' "$(date +%T)" "$*"; }

skip() {
  say "skipped: $*"
  exit 77
}

fail() {
  say "failed: $*"
  tail --lines=30 ./*.log "$folder"/slurm*.out 2>/dev/null || true
  exit 1
}

# Every process that was started here, however it went off on its own, has the folder's name in its
# environment.
clean_up() {
  local processes process
  processes=$(grep -lzsF "SLURM_CONF=$SLURM_CONF" /proc/[0-9]*/environ) || true
  for process in $processes; do
    process=${process#/proc/}
    kill -KILL "${process%/environ}" 2>/dev/null || true
  done
  wait 2>/dev/null
  rm -rf -- "$folder"
}

# wait_for SECONDS COMMAND...: whether the command succeeds within that time.
wait_for() {
  local end=$((SECONDS + $1))
  until "${@:2}"; do
    ((SECONDS < end)) || return 1
    sleep 0.1
  done
}

start_slurm() {
  local me host ctld_port slurmd_port
  me=$(id --user --name)
  host=$(hostname --short)
  read -r ctld_port slurmd_port < <("$python" -c '
import socket
sockets = [socket.create_server(("", 0)) for _ in range(2)]
print(*(s.getsockname()[1] for s in sockets))')
  mkdir "$folder/state" "$folder/spool"
  head --bytes=128 /dev/urandom >"$folder/munge.key"
  chmod 400 "$folder/munge.key"
  # A job that goes back into the queue rests there for cred_expire, 5 s at least.
  cat >"$SLURM_CONF" <<CONFIGURATION
ClusterName=test
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$ctld_port
SlurmdPort=$slurmd_port
SlurmUser=$me
SlurmdUser=$me
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket=$folder/munge.socket,cred_expire=5
SlurmctldPidFile=$folder/slurmctld.pid
SlurmdPidFile=$folder/slurmd.pid
StateSaveLocation=$folder/state
SlurmdSpoolDir=$folder/spool
TmpFS=$folder
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SlurmdParameters=config_overrides
SchedulerParameters=sched_interval=1,bf_interval=1
ReturnToService=2
KillWait=2
MailProg=/bin/true
NodeName=$host NodeAddr=127.0.0.1 CPUs=4
PartitionName=all Nodes=ALL Default=YES
CONFIGURATION
  munged --key-file="$folder/munge.key" --socket="$folder/munge.socket" \
    --pid-file="$folder/munged.pid" --log-file="$folder/munged.out" \
    --seed-file="$folder/munged.seed" || skip "munged does not start: $(cat "$folder/munged.out")"
  slurmctld -D -f "$SLURM_CONF" >"$folder/slurmctld.out" 2>&1 &
  slurmd -D -f "$SLURM_CONF" >"$folder/slurmd.out" 2>&1 &
  wait_for 20 node_is_idle ||
    skip "Slurm does not start:" "$(tail --lines=5 "$folder/slurmctld.out" "$folder/slurmd.out")"
}

node_is_idle() { [[ $(sinfo --noheader --format=%t 2>/dev/null) == idle ]]; }

# The job's value of a name, as scontrol shows it.
shown() { scontrol --oneliner show job "$1" | sed -n "s/.* $2=\([^ ]*\).*/\1/p;q"; }

no_step() { ! squeue --noheader --steps --format=%i | grep --quiet --invert-match batch; }

is() { [[ $(shown "$1" "$2") == "$3" ]]; }

# ends JOB STATE: the job ends, and in this state.
ends() {
  wait_for 30 is "$1" JobState "$2" || fail "job $1 is $(shown "$1" JobState), not $2"
}

# The numbers of finished slabs and of all, in a file.
slabs() {
  "$python" -c '
import h5py, sys
finished = h5py.File(sys.argv[1], "r")["slabs"]["finished"]
print(finished.sum(), finished.size)' "$1"
}

# Waits until more than that many are finished.
wait_for_more() { # FILE SLABS
  timeout 30 "$python" -c '
import h5py, sys, time
name, before = sys.argv[1], int(sys.argv[2])
def finished():
    try:
        with h5py.File(name, "r") as file:
            return file["slabs"]["finished"].sum()
    except FileNotFoundError:
        return 0
while finished() <= before:
    time.sleep(0.02)' "$@"
}

# Has a job go on until more slabs of a file are finished, ends it as COMMAND does, and sees that slabs
# are missing still.
interrupt() { # FILE COMMAND...
  local before=0 finished all
  [[ ! -e $1 ]] || read -r before all < <(slabs "$1")
  wait_for_more "$1" "$before" || fail "nothing is computed"
  "${@:2}"
  wait_for 10 no_step || fail "the processes still run after: ${*:2}"
  read -r finished all < <(slabs "$1")
  ((finished < all)) || fail "$1 was complete before: ${*:2}"
  say "${*:2}: $1 has $finished of $all slabs, $before before"
}

same_as_alone() {
  "$python" - alone.h5 field.h5 <<'COMPARISON' || fail "the field differs from that of one process"
import h5py, sys
alone, field = (h5py.File(name, "r") for name in sys.argv[1:])
assert field.attrs["complete"] == 1
for name in ("pressure", "magnitude"):
    assert field[name].shape == alone[name].shape == (60, 83, 101)
    assert field[name][...].tobytes() == alone[name][...].tobytes(), name
COMPARISON
}

# Where Slurm has a job rest before it starts again: spares the test the rest of that.
again() {
  wait_for 20 is "$1" Restarts 1 || fail "job $1 is not in the queue again"
  sleep 1.5
  scontrol update JobId="$1" StartTime=now
}

kill_all_of() {
  local -a processes
  mapfile -t processes < <(scontrol listpids "$1.0" | awk 'NR > 1 { print $1 }')
  ((${#processes[@]} == 4)) || fail "job $1 has ${#processes[@]} processes"
  kill -KILL "${processes[@]}"
}

submit() {
  sbatch --parsable --nodes=1 --ntasks-per-node=4 --time=5 field_mpi.sbatch
}

for needed in munged slurmctld slurmd sbatch srun scancel scontrol; do
  type -P "$needed" >/dev/null || skip "there is no $needed; the packages slurm-wlm and munge have it"
done
"$python" -c 'import h5py' || skip "the package python3-h5py is not here"

folder=$(mktemp --directory)
chmod 711 "$folder"  # munged wants its socket within reach of all
export SLURM_CONF=$folder/slurm.conf
# What processes that are killed leave behind is to be in the folder, too.
export TMPDIR=$folder OMPI_MCA_btl_vader_backing_directory=$folder HDF5_USE_FILE_LOCKING=FALSE
trap clean_up EXIT
start_slurm
say "Slurm runs: $(srun --version)"

# The scripts as they are, and a field of seconds in slabs of milliseconds.
mkdir "$folder/job"
cd "$folder/job"
cp "$examples"/*.sbatch "$examples"/*.sh .
cat >request.toml <<'REQUEST'
transform = [1e-4, 0, 0, -5e-3,  0, 1e-4, 0, -4e-3,  0, 0, 2e-4, 1e-3,  0, 0, 0, 1]
sizes = [101, 83, 60]
l = 5e-3
s = 7.5e-3
k = 4188.79
order = 500
slab = 4000
REQUEST
pistonfield-run --request request.toml alone.h5

say "four processes that MPI does not connect"
if srun --mpi=none --ntasks=4 pistonfield-run --request request.toml alone4.h5 2>refused.log; then
  fail "they are not refused"
fi
[[ $(grep --count '^pistonfield-run: ' refused.log) == 1 && ! -e alone4.h5 ]] || fail "they are refused otherwise"
grep --quiet '^pistonfield-run: 4 processes were started and MPI knows of 1: ' refused.log ||
  fail "they are refused otherwise"

say "one job of four processes"
job=$(submit)
# The signal before the time is over: the job goes back into the queue, and on by itself.
interrupt field.h5 scancel --signal=TERM "$job"
again "$job"
# No process can do anything about this one.
interrupt field.h5 kill_all_of "$job"
ends "$job" FAILED
job=$(submit)
interrupt field.h5 scancel "$job"
ends "$job" CANCELLED
job=$(submit)
ends "$job" COMPLETED
same_as_alone

say "three parts, and a job that joins them"
rm field.h5
join=$(./submit_array.sh 3 --time=5 | sed 's/[^0-9]//g')
part=$(squeue --noheader --array --name=field-part --format=%A | sed -n 2p)
interrupt field.part-2-of-3.h5 scancel --signal=TERM "$part"
again "$part"
ends "$join" COMPLETED
[[ $(echo field.part-?-of-3.h5 | wc --words) == 3 ]] || fail "there are other parts than three"
same_as_alone
say "all fields are those of one process, bit for bit"
