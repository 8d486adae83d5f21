#!/usr/bin/env bash
# usage: check_layers.sh CORE_FOLDER
# Checks that every file of the core includes only its own layer and those below. Layers are the folders include/rix/X,
# internal/rix/X (headers for our own modules) and src/X. The build can't enforce this: all layers of the core are one
# target.
set -euo pipefail
core=$1

# From the bottom up. Plain values (containers, matrices, kernels) are what properties hold. Devices tell which levels of
# optimisation the processor can, simd compiles kernels for each of them. Properties and images know each other's
# declarations and share a level, and so do the registry of classes and the result objects that it makes.
declare -A level=([exceptions]=0 [process]=0 [settings]=1 [container]=1 [math]=1 [kernel]=1 [devices]=1 [simd]=1 [properties]=2
  [image]=2 [rules]=3 [access]=4 [algorithms]=5 [measurement]=5)
# Files that belong to another layer than their folder says.
declare -A moved=(
  [rules/Rules.h]=properties  # the interface by which a property knows the rules attached to it
  [algorithms/OptimLevel.h]=devices  # named after what it is chosen for, but it is a property of processors
)

fail() {
  printf '%s\n' "$1" >&2
  failures=$((failures + 1))
}

# The layer of a path below include/rix or src; "base" for the few headers that lie directly in include/rix.
layer_of() {
  local folder=${1%%/*}
  if [[ -n ${moved[$1]:-} ]]; then
    printf '%s' "${moved[$1]}"
    return
  fi
  [[ $1 == */* ]] || folder=base
  printf '%s' "${folder,,}"
}

failures=0
files=0
while IFS= read -r -d '' file; do
  relative=${file#"$core"/}
  case $relative in
    include/rix/* | internal/rix/*) own=$(layer_of "${relative#*/rix/}") ;;
    src/*) own=$(layer_of "${relative#src/}") ;;
    *) fail "$relative: lies neither in include/rix, nor internal/rix, nor src"; continue ;;
  esac
  if [[ $own != base && -z ${level[$own]:-} ]]; then
    fail "$relative: the folder '$own' is no layer; new layers are entered in ${BASH_SOURCE[0]##*/}"
    continue
  fi
  files=$((files + 1))
  while IFS=: read -r line included; do
    case $included in
      \"*../*) fail "$relative:$line: leaves its folder: $included"; continue ;;
      \<rix/*\> | \"*/*\")
        included=${included:1:-1}
        target=$(layer_of "${included#rix/}")
        ;;
      *) continue ;;  # beside the file itself, or of another library
    esac
    if [[ $target == base ]]; then
      continue
    elif [[ -z ${level[$target]:-} ]]; then
      fail "$relative:$line: includes what is no layer of the core: $included"
    elif [[ $own == base ]] || ((level[$target] > level[$own])); then
      fail "$relative:$line: the layer '$own' lies below '$target', so it can't include $included"
    fi
  done < <(sed -n -E 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*([<"][^>"]*[>"]).*/\1/;t show;b;:show =;p' "$file" |
    paste -d: - -)
done < <(find "$core" -path "$core/tests" -prune -o \( -name '*.h' -o -name '*.cpp' -o -name '*.inl' \) -print0 | sort -z)

((files > 0)) || fail "no files found in $core"
((failures == 0)) || exit 1
printf 'The includes of %d files respect the order of the layers.\n' "$files"
