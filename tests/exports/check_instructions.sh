#!/usr/bin/env bash
# usage: check_instructions.sh LIBRARY NAMESPACES
# Checks that instructions which not every 64-bit processor has (SSE3 and above) stand only in functions of the
# namespaces (a regular expression) that are entered after asking the processor. An inline function of a shared header
# that was compiled for a better processor would otherwise be picked by the linker for all, and end the program on others.
set -euo pipefail
library=$1
namespaces=$2

# AVX instructions are told by their first letter (verr, verw are the exceptions), the rest is listed by what compilers
# make of SSE3 to SSE4.2 and the bit extensions. tzcnt is none: compilers write it where older processors read bsf and
# get the same result. The last line of the report counts what was seen.
avx='v[a-df-z].*'
sse3='lddqu|movddup|movs[hl]dup|h(add|sub)p[sd]|addsubp[sd]|p(shufb|abs[bwd]|alignr|sign[bwd]|h(add|sub).*|mulhrsw|maddubsw)'
sse4='p(blend(w|vb)|mov[sz]x.*|mulld|muldq|cmpeqq|cmpgtq|cmp[ei]str.*|test|ackusdw|insr[bdq]|extr[bdq]|hminposuw)'
sse4+='|pm(in|ax)(s[bd]|u[wd])|blendv?p[sd]|round[ps][sd]|dpp[sd]|insertps|extractps|mpsadbw|movntdqa|crc32.*|popcnt.*'
bits='lzcnt.*|andn|bextr|bls(i|r|msk)|bzhi|mulx|pdep|pext|rorx|s(ar|hl|hr)x'
report=$(objdump --disassemble --demangle --no-show-raw-insn "$library" | awk -F'\t' -v namespaces="::($namespaces)::" \
  -v better="^($avx|$sse3|$sse4|$bits)\$" '
  /^[0-9a-f]+ <.*>:$/ { allowed = $0 ~ namespaces; name = $0; sub(/^[^<]*</, "", name); sub(/>:$/, "", name); next }
  {
    instruction = $2
    sub(/ .*/, "", instruction)
    if (instruction !~ better) next
    ++seen
    if (!allowed && !reported[name]++) print instruction " in " name
  }
  END { print seen + 0 }')
seen=${report##*$'\n'}
leaks=${report%"$seen"}
if [[ -n $leaks ]]; then
  printf '%s has instructions of better processors outside %s:\n%s' "$library" "$namespaces" "$leaks" >&2
  exit 1
fi
# A library without any would mean that the disassembly was not understood.
((seen > 0)) || { printf 'no instruction of a better processor found in %s\n' "$library" >&2; exit 1; }
printf '%d instructions of better processors in %s, all of them in %s\n' "$seen" "$library" "$namespaces"
