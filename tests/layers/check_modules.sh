#!/usr/bin/env bash
# usage: check_modules.sh MODULES [PAGE]
# Draws which module depends on which, and checks that
#   - there is no circle,
#   - every header of the library that a module includes is of a module that it names, and public headers include none
#     that is named for the sources only,
#   - what is named is included,
#   - every class with a record of its own (a `getInfo()`) in a public header is in the module's lists,
#   - the drawing stands in PAGE, in the code block behind the line "<!-- modules -->", when one is given.
# MODULES is what CMake knows, a line a module: NAME|DEPENDS|PRIVATE_DEPENDS|LISTED CLASSES|INCLUDE FOLDERS|SOURCE FOLDER,
# where each field but the last is a list separated by blanks, and folders by ":".
set -euo pipefail
modules_file=$1
page=${2:-}

fail() {
  printf '%s\n' "$1" >&2
  failures=$((failures + 1))
}

failures=0
modules=()
declare -A public=() private=() listed=() folders=() sources=() owner=()
while IFS='|' read -r name depends private_depends classes include_folders source_folder; do
  modules+=("$name")
  public[$name]=$depends private[$name]=$private_depends listed[$name]=$classes
  folders[$name]=$include_folders sources[$name]=$source_folder
done <"$modules_file"
((${#modules[@]} > 0)) || fail "no modules in $modules_file"

# Layers: a module lies one above the highest that it depends on. What is left when none can be added is a circle.
declare -A level=()
height=-1
while ((${#level[@]} < ${#modules[@]})); do
  height=$((height + 1))
  layer=()
  for name in "${modules[@]}"; do
    [[ -z ${level[$name]:-} ]] || continue
    for below in ${public[$name]} ${private[$name]}; do
      [[ -n ${level[$below]:-} ]] || continue 2
    done
    layer+=("$name")
  done
  if ((${#layer[@]} == 0)); then
    for name in "${modules[@]}"; do
      [[ -n ${level[$name]:-} ]] || break
    done
    path=$name
    declare -A seen=()
    while [[ -z ${seen[$name]:-} ]]; do
      seen[$name]=1
      for below in ${public[$name]} ${private[$name]}; do
        [[ -n ${level[$below]:-} ]] || break
      done
      name=$below
      path+=" -> $name"
    done
    fail "the modules depend on each other in a circle: $path"
    exit 1
  fi
  for name in "${layer[@]}"; do
    level[$name]=$height
  done
done

# Whether a module is reached from another, or is the same.
reaches() {
  [[ $1 != "$2" ]] || return 0
  local below
  for below in ${public[$1]} ${private[$1]}; do
    ! reaches "$below" "$2" || return 0
  done
  return 1
}

# The modules from the top to the bottom, each with those right below it: what is reached through another is left out.
# In brackets what only sources include.
draw() {
  local height name below other arrows
  for ((height = ${#modules[@]}; height >= 0; --height)); do
    while IFS= read -r name; do
      arrows=()
      for below in ${public[$name]} ${private[$name]}; do
        for other in ${public[$name]} ${private[$name]}; do
          [[ $other == "$below" ]] || ! reaches "$other" "$below" || continue 2
        done
        [[ " ${private[$name]} " != *" $below "* ]] || below="($below)"
        arrows+=("$below")
      done
      if ((${#arrows[@]} > 0)); then
        printf '%d  %-26s-> %s\n' "$height" "$name" "$(printf '%s\n' "${arrows[@]}" | sort | paste -sd, | sed 's/,/, /g')"
      else
        printf '%d  %s\n' "$height" "$name"
      fi
    done < <(for name in "${modules[@]}"; do ((level[$name] != height)) || printf '%s\n' "$name"; done | sort)
  done
}
drawing=$(draw)
printf '%s\n' "$drawing"

for name in "${modules[@]}"; do
  IFS=: read -ra places <<<"${folders[$name]}"
  while IFS= read -r header; do
    [[ -z ${owner[$header]:-} ]] || fail "the modules ${owner[$header]} and $name both have the header <$header>"
    owner[$header]=$name
  done < <(find "${places[@]}" -name '*.h' -printf '%P\n')
done

# includes_of FOLDER... : "FILE:LINE:HEADER" of every header of the library that is included by its public name.
includes_of() {
  { grep -rnoE --include='*.h' --include='*.cpp' --include='*.inl' '^[[:space:]]*#[[:space:]]*include[[:space:]]*<rix/[^>]*>' \
    "$@" || true; } | sed -E 's/:[^:]*<([^>]*)>$/:\1/'
}

count=0
for name in "${modules[@]}"; do
  declare -A used=()
  for kind in public source; do
    if [[ $kind == public ]]; then
      IFS=: read -ra places <<<"${folders[$name]}"
    else
      places=("${sources[$name]}")
    fi
    [[ -d ${places[0]:-} ]] || continue
    while IFS=: read -r file line header; do
      count=$((count + 1))
      target=${owner[$header]:-}
      where=${file##*/}:$line
      if [[ -z $target ]]; then
        fail "$name: $where: no module has the header <$header>"
      elif [[ $target == "$name" || " ${public[$name]} " == *" $target "* ]]; then
        used[$target]+=" $kind"
      elif [[ " ${private[$name]} " != *" $target "* ]]; then
        fail "$name: $where: includes <$header> of $target, which the module does not depend on"
      elif [[ $kind == public ]]; then
        used[$target]+=" $kind"
        fail "$name: $where: a public header includes <$header> of $target, which is named for the sources only"
      else
        used[$target]+=" $kind"
      fi
    done < <(includes_of "${places[@]}")
  done
  for below in ${public[$name]}; do
    if [[ -z ${used[$below]:-} ]]; then
      fail "$name: depends on $below, but includes nothing of it"
    elif [[ ${used[$below]} != *public* ]]; then
      fail "$name: only sources include headers of $below, which belongs to PRIVATE_DEPENDS"
    fi
  done
  for below in ${private[$name]}; do
    [[ -n ${used[$below]:-} ]] || fail "$name: depends on $below, but includes nothing of it"
  done
  unset used

  IFS=: read -ra places <<<"${folders[$name]}"
  # A class has a record when its body declares it, by hand or by the macro that declares what all algorithms have.
  while IFS= read -r class; do
    [[ " ${listed[$name]} " == *" $class "* ]] ||
      fail "$name: the class $class has a record, but is not listed (ALGORITHMS or OBJECTS of rix_add_module)"
  done < <(find "${places[@]}" -name '*.h' -exec awk '
    FNR == 1 { class = "" }
    match($0, /^[[:space:]]*(class|struct)[[:space:]]+(RIX_EXPORT[[:space:]]+)?[A-Za-z_0-9]+/) {
      class = substr($0, RSTART, RLENGTH); sub(/.*[[:space:]]/, "", class) }
    /^[[:space:]]*static[^(]*(AlgoInfo|ObjectInfo)[[:space:]]*&[[:space:]]*getInfo\(\)/ && class != "" { print class }
    match($0, /^[[:space:]]*RIX_ALGORITHM\(/) { name = substr($0, RSTART + RLENGTH); sub(/[,)].*/, "", name); print name }
    ' {} +)
done
((count > 0)) || fail "no includes found"

if [[ -n $page ]]; then
  printed=$(awk '/^<!-- modules -->$/ { found = 1 } found && /^```$/ { exit } inside { print }
                 found && /^```/ { inside = 1 }' "$page")
  if [[ $printed != "$drawing" ]]; then
    fail "$page does not show these modules:"
    diff <(printf '%s\n' "$printed") <(printf '%s\n' "$drawing") >&2 || true
  fi
fi
((failures == 0)) || exit 1
printf 'The %d modules have no circle, and %d includes are declared.\n' "${#modules[@]}" "$count"
