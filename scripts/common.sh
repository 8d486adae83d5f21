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
