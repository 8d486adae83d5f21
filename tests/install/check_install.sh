#!/usr/bin/env bash
# usage: check_install.sh CMAKE COMPILER BUILD_FOLDER WORK_FOLDER
# Installs the library into an empty prefix, moves the prefix, and builds and runs a stranger's program against it: once
# through the CMake package, once through pkg-config.
set -euo pipefail
cmake=$1 compiler=$2 build=$3 work=$4
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
expected="2500 foreground pixels"

rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/staging" >"$work/install.log"
# Nothing in an installation may know where it was installed.
mv "$work/staging" "$work/prefix"
prefix=$work/prefix

run() {
  local output
  output=$("$2")
  [[ $output == "$expected" ]] || { printf '%s: printed "%s", expected "%s"\n' "$1" "$output" "$expected"; exit 1; }
  printf '%s: %s\n' "$1" "$output"
}

"$cmake" -G Ninja -S "$here/consumer" -B "$work/cmake" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log"
"$cmake" --build "$work/cmake" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
run "CMake package" "$work/cmake/consumer"

pc_folder=$(dirname "$(find "$prefix" -name lumora_rix.pc)")
flags=$(PKG_CONFIG_PATH=$pc_folder pkg-config --cflags --libs lumora_rix)
# shellcheck disable=SC2086 # the flags are several words
"$compiler" -std=c++20 "$here/consumer/main.cpp" $flags -Wl,-rpath,"$(dirname "$pc_folder")" -o "$work/consumer"
run "pkg-config" "$work/consumer"

# What was built and installed must not name the folders that it came from: they are gone on the user's machine.
source_folder=$(cd "$here/../.." && pwd)
if grep -rIl -F -e "$source_folder" "$prefix"; then
  printf 'these installed files name the source folder\n'
  exit 1
fi
if [[ -x $prefix/bin/rix ]]; then
  "$prefix/bin/rix" --version
fi
