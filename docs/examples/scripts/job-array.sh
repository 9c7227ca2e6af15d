#!/bin/sh
#SBATCH --array=1-100
#SBATCH --cpus-per-task=1
#SBATCH --mem=512M
#SBATCH --output=wells/job-%a.out
# The same on a cluster: one well an element of a job array. FOLDER lies where all nodes see it; each element works on a
# database of its own, as locks do not reach other machines. Afterwards: cat the tables as many-wells.sh does.
#   sbatch job-array.sh wells          with schedulers of other names the number of the element comes from their variable
set -eu
number=${SLURM_ARRAY_TASK_ID:-${PBS_ARRAY_INDEX:-${SGE_TASK_ID:?no number of a job array element}}}
exec "$(dirname "$(realpath "${VORELA_SCRIPTS:-$0}")")/one-well.sh" "$number" "$@"
