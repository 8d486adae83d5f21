#!/bin/sh
# A recipe over one huge image on a cluster with Slurm, from a folder that all machines see:
#
#     sh examples/batch/slurm.sh cells.json 200 image=large.zarr
#
# Each round is an array of jobs, a block each, and a job that joins them; the last job writes the results. A job that
# is lost is requeued and repeats its block. After a failure the same command goes on where it ended.
#
# RIX, BLOCK_OPTIONS and JOIN_OPTIONS in the environment say which program runs and what Slurm gives to jobs.
set -eu
RIX=${RIX:-rix}
BLOCK_OPTIONS=${BLOCK_OPTIONS:---cpus-per-task=2 --mem=4G --time=1:00:00}
JOIN_OPTIONS=${JOIN_OPTIONS:---cpus-per-task=8 --mem=16G --time=12:00:00}

recipe=$1
blocks=$2
shift 2
plan=$(basename "$recipe" .json)-plan.json
work=${plan%.json}-work
[ -f "$plan" ] || "$RIX" plan "$recipe" "$@" --blocks "$blocks" -o "$plan"

after=
while read -r round number; do
  if [ "$number" -gt 0 ]; then
    # shellcheck disable=SC2086  # the options are several words
    job=$(sbatch --parsable --requeue $after $BLOCK_OPTIONS --array="0-$((number - 1))" \
      --wrap="$RIX block $plan \$SLURM_ARRAY_TASK_ID --round $round --threads \$SLURM_CPUS_PER_TASK --no-progress")
    after="--dependency=afterok:$job"
  fi
  # shellcheck disable=SC2086
  job=$(sbatch --parsable --requeue $after $JOIN_OPTIONS \
    --wrap="$RIX join $plan --round $round --threads \$SLURM_CPUS_PER_TASK --memory 12G --no-progress")
  after="--dependency=afterok:$job"
done < "$work/rounds.txt"
# shellcheck disable=SC2086
sbatch --parsable --requeue $after $JOIN_OPTIONS --wrap="$RIX finish $plan"
