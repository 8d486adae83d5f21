#!/usr/bin/env bash
# usage: check_exports.sh LIBRARY NAMESPACE
# Checks that a shared library exports the symbols of one namespace only. Tolerated are weak symbols of the standard
# library: its templates are visible by declaration, whatever our flags say, and every program instantiates its own.
# So are the three bounds that the linker adds when a library that we link exports its own.
set -euo pipefail
library=$1
namespace=$2

# Of a name as the compiler writes it: a function or variable, or a table, type description, thunk or guard of one.
own="^_Z(T[VTIS]|GV|GR|Z|Th[n0-9]+_|Tv[n0-9]+_[n0-9]+_|TC|Tc[hv0-9n_]+)*(NK?)?${#namespace}$namespace"
standard='^_Z(T[VTIS]|GV|Z)*(NK?)?(S[tabsiod]|9__gnu_cxx)'

symbols=$(nm --dynamic --defined-only --format=posix "$library")
[[ -n $symbols ]] || { printf '%s exports nothing\n' "$library" >&2; exit 1; }
foreign=$(awk -v own="$own" -v standard="$standard" '
  $1 ~ own { next }
  $2 ~ /^[WVu]$/ && $1 ~ standard { next }
  $1 ~ /^(__bss_start|_edata|_end)$/ { next }
  { print $2, $1 }' <<<"$symbols")
if [[ -n $foreign ]]; then
  printf '%s exports symbols that are not of the namespace %s:\n' "$library" "$namespace" >&2
  c++filt <<<"$foreign" >&2
  exit 1
fi
printf '%s exports %d symbols, all of the namespace %s or weak ones of the standard library.\n' "$library" \
  "$(wc -l <<<"$symbols")" "$namespace"
