#!/usr/bin/env bash
# usage: check_headers.sh PART PARTS SOURCES FOREIGN COMPILER INCLUDE_FOLDER... -- SYSTEM_INCLUDE_FOLDER...
# Compiles every header below the include folders alone, with the warnings that a careful user may have switched on: of
# each PARTS headers the one whose turn it is in this PART, counted from 0. Lists the headers and stops at the first that
# doesn't compile. Left out are headers that a source below the folder SOURCES includes before any other: the build has
# compiled those alone, with the same warnings; "-" leaves none out. FOREIGN is a header of other libraries' headers that
# is compiled once and then put before each, which takes a fifth of the time and hides when one of those is not included
# where it is used; "-" for none. A header that compiles its includer once for every instruction set is told which file
# that is, as every file of kernels does.
set -euo pipefail
part=$1
parts=$2
sources=$3
foreign=$4
compiler=$5
shift 5

folders=()
flags=(-std=c++20 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
while (($#)) && [[ $1 != -- ]]; do
  folders+=("$1")
  flags+=(-I "$1")
  shift
done
shift
for folder in "$@"; do
  flags+=(-isystem "$folder")
done

probe=$(mktemp -d)
trap 'rm -rf "$probe"' EXIT

before=()
if [[ $foreign != - ]]; then
  cp "$foreign" "$probe/foreign.h"
  "$compiler" "${flags[@]}" -x c++-header "$probe/foreign.h" -o "$probe/foreign.h.gch"
  before=(-Winvalid-pch -include "$probe/foreign.h")
fi

# Included from a source of its own: a header compiled as the main file would be warned of its "#pragma once".
compiles() {
  {
    grep -qw HWY_TARGET_INCLUDE "$1/$2" && printf '#undef HWY_TARGET_INCLUDE\n#define HWY_TARGET_INCLUDE "probe.cpp"\n'
    printf '#include <%s>\n' "$2"
  } >"$probe/probe.cpp"
  "$compiler" "${flags[@]}" "${before[@]}" -fsyntax-only -I "$probe" "$probe/probe.cpp"
}

declare -A built=()
if [[ $sources != - ]]; then
  while IFS= read -r header; do
    built[$header]=1
  done < <(find "$sources" -path '*/src/*' -name '*.cpp' -not -path "$sources/build/*" \
    -exec grep -hm1 '^#include' {} \; | sed -En 's/^#include <(rix.*|vessel.*)>.*/\1/p')
fi

seen=0
count=0
for folder in "${folders[@]}"; do
  while IFS= read -r header; do
    if [[ -v built[$header] ]] || ((seen++ % parts != part)); then
      continue
    fi
    if ! compiles "$folder" "$header"; then
      printf 'FAILED   %s\n' "$header"
      exit 1
    fi
    printf 'compiles %s\n' "$header"
    count=$((count + 1))
  done < <(cd "$folder" && find . -name '*.h' -printf '%P\n' | sort)
done
printf '%d headers compile on their own.\n' "$count"
((count > 0))
