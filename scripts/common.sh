# Shared by the scripts beside it; sourced, never run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly root

say() { printf '%s\n' "$*"; }

die() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# One compiler process a processor, but no more than the free memory carries: the largest translation units take about
# 1.5 GiB under the sanitizers, and a machine that swaps builds slower than one with a single process.
parallel_jobs() {
  local processors memory_kib jobs
  processors=$(nproc)
  memory_kib=$(awk '/^MemAvailable:/ {print $2}' /proc/meminfo)
  jobs=$((memory_kib / (1536 * 1024)))
  ((jobs < processors)) || jobs=$processors
  ((jobs > 0)) || jobs=1
  say "$jobs"
}

# The path of a tool that the Debian package of the same name holds, which is installed when it is missing.
tool_of() {
  command -v "$1" && return
  "$root/scripts/setup" --only "$1" >&2
  command -v "$1" || die "$1 is not installed (Debian package $1)"
}

# The files below the working folder that differ from where the branch left main, uncommitted and new ones included; on
# main itself, from what was last fetched.
changed_files() {
  local base
  base=$(git merge-base HEAD origin/main 2>/dev/null || git merge-base HEAD main 2>/dev/null || git rev-parse HEAD)
  {
    git diff --name-only --diff-filter=d --relative "$base" -- "$@"
    git ls-files --others --exclude-standard -- "$@"
  } | sort -u
}
