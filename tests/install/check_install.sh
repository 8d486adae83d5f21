#!/usr/bin/env bash
# usage: check_install.sh CMAKE COMPILER BUILD_FOLDER WORK_FOLDER [PYTHON]
# Installs the library into an empty prefix, moves the prefix, and builds and runs a stranger's program against it: once
# through the CMake package, once through pkg-config, and so the examples of the pages on measures and on buffers, and a
# program without exceptions. Then does the same with the example of the README, which also reads and writes files, and with plug-ins,
# which a program and the command line load. Where the Python package was built, imports and uses it as well.
set -euo pipefail
cmake=$1 compiler=$2 build=$3 work=$4 python=${5:-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source_folder=$(cd "$here/../.." && pwd)
expected="2500 foreground pixels"

rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/staging" >"$work/install.log"
# Nothing in an installation may know where it was installed.
mv "$work/staging" "$work/prefix"
prefix=$work/prefix

run() {
  local output
  output=$("${@:2}")
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

# The example of the page on measures, as it stands there.
awk '/^```cpp$/ {inside = 1; next} /^```$/ && inside {exit} inside' "$source_folder/docs/measures.md" >"$work/measure.cpp"
# shellcheck disable=SC2086
"$compiler" -std=c++20 "$work/measure.cpp" $flags -Wl,-rpath,"$(dirname "$pc_folder")" -o "$work/measure"
expected=$'1: 0.5, 1\n2: 1, 1\n3: 1.5, 1'
run "measure of its own" "$work/measure"

# The example of the page on buffers, as it stands there.
awk '/^```cpp$/ {inside = 1; next} /^```$/ && inside {exit} inside' "$source_folder/docs/own-buffers.md" >"$work/buffers.cpp"
# shellcheck disable=SC2086
"$compiler" -std=c++20 "$work/buffers.cpp" $flags -I/usr/include/eigen3 -I/usr/include/opencv4 -lopencv_core \
  -Wl,-rpath,"$(dirname "$pc_folder")" -o "$work/buffers"
expected=$'bright: 10\nblurred: 100\nsum: 12'
run "own buffers" "$work/buffers"

# A program that is built without exceptions.
# shellcheck disable=SC2086
"$compiler" -std=c++20 -fno-exceptions "$here/consumer/without_exceptions.cpp" $flags \
  -Wl,-rpath,"$(dirname "$pc_folder")" -o "$work/without_exceptions"
expected='The parameter "outputBinaryImage" must be set.'
run "without exceptions" "$work/without_exceptions"

# The example of the README, as it stands there.
mkdir -p "$work/readme"
awk '/^```cpp$/ {inside = 1; next} /^```$/ && inside {exit} inside' "$source_folder/README.md" >"$work/readme/main.cpp"
cat >"$work/readme/CMakeLists.txt" <<'TEXT'
cmake_minimum_required(VERSION 3.25)
project(readme LANGUAGES CXX)
find_package(lumora_rix REQUIRED COMPONENTS io)
add_executable(program main.cpp)
target_link_libraries(program lumora_rix::io)
TEXT
"$cmake" -G Ninja -S "$work/readme" -B "$work/readme/build" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log"
"$cmake" --build "$work/readme/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
cp "$source_folder/examples/images/coins.png" "$work/readme"
(cd "$work/readme" && build/program)
size=$(stat -c %s "$work/readme/coins-binary.tif")
((size >= 384 * 303 / 8)) || { printf 'README: the result has only %d bytes\n' "$size"; exit 1; }
printf 'README: the example wrote %d bytes\n' "$size"

"$cmake" -G Ninja -S "$here/plugin" -B "$work/plugin" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_PREFIX_PATH="$prefix" -DEXAMPLE_SOURCE="$here/../plugins/ExamplePlugin.cpp" >"$work/configure.log"
"$cmake" --build "$work/plugin" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
expected="inversions of stranger: 256 of 256 right, thresholding by the plug-in"
run "plug-ins" "$work/plugin/program" "$work/plugin/plugins"
export RIX_PLUGIN_DIRECTORY=$work/plugin/plugins
"$prefix/bin/rix" list | grep -E '^Inversion +inversions '
invert() { "$prefix/bin/rix" run Inversion "inputImage=$1" "outputImage=$2" >/dev/null; }
(
  cd "$work/plugin"
  invert "$source_folder/examples/images/coins.png" negative.tif
  invert negative.tif positive.tif
  invert positive.tif negative-again.tif
  cmp negative.tif negative-again.tif
  if cmp -s negative.tif positive.tif; then
    printf 'the inverted picture is the picture\n'
    exit 1
  fi
)
# A file that is cut off is refused in words, whatever is asked of the program.
head -c 5000 "$work/plugin/plugins/libInversion.so" >"$work/plugin/plugins/libCut.so"
if "$prefix/bin/rix" list >/dev/null 2>"$work/refusal.log" || ! grep 'libCut.so is damaged' "$work/refusal.log"; then
  printf 'a damaged plug-in is not refused\n'
  exit 1
fi
unset RIX_PLUGIN_DIRECTORY

if [[ -n $python ]]; then
  package=$(dirname "$(find "$prefix" -path '*/rix/__init__.py')")
  (cd "$work" && env -i PYTHONDONTWRITEBYTECODE=1 PYTHONPATH="${package%/rix}" "$python" -c '
import numpy, rix
threshold = rix.thresholding_by_criterion(numpy.arange(5000, dtype=numpy.uint16).reshape(50, 100), "LESS_THAN", 2500)
print("Python package:", threshold.sum(), "foreground pixels of", rix.__version__)
assert threshold.sum() == 2500')
  # The examples of the reference, which are in three languages.
  # shellcheck disable=SC2046
  PYTHONDONTWRITEBYTECODE=1 PYTHONPATH="${package%/rix}" "$python" "$source_folder/tools/reference/check_examples.py" \
    "$prefix/bin/rix" "$work/reference" "$compiler" \
    $(PKG_CONFIG_PATH=$pc_folder pkg-config --cflags --libs lumora_rix_io) -Wl,-rpath,"$(dirname "$pc_folder")"
fi

# The pages find their pictures, their code and each other.
pages=$(dirname "$(find "$prefix" -name CHANGELOG.md)")
links=0
while IFS= read -r page; do
  while IFS= read -r link; do
    target=$(dirname "$page")/${link%%#*}
    [[ $link =~ ^[a-z]+: || -e $target ]] || { printf '%s: its link %s leads nowhere\n' "$page" "$link"; exit 1; }
    links=$((links + 1))
  done < <(sed '/^ *```/,/^ *```/d' "$page" | grep -oP '\]\(\K[^)#\s]+')
done < <(find "$pages/README.md" "$pages/CHANGELOG.md" "$pages/docs" -name '*.md')
((links > 50)) || { printf 'the installed pages have only %d links\n' "$links"; exit 1; }
printf 'pages: %d links\n' "$links"

# What was built and installed must not name the folders that it came from: they are gone on the user's machine.
if grep -rlF -e "$source_folder" "$prefix"; then
  printf 'these installed files name the source folder\n'
  exit 1
fi
"$prefix/bin/rix" --version
