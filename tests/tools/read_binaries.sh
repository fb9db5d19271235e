#!/usr/bin/env bash
# tools/hardening and tools/floor, on programs of which it is known what they are.
#
#   read_binaries.sh TREE COMPILER
set -euo pipefail
tree=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir tools debian
cp "$tree/tools/hardening" "$tree/tools/floor" tools

fail() {
  echo "read_binaries: $*" >&2
  exit 1
}
expect_failure() { # PATTERN COMMAND...
  local said
  if said=$("${@:2}" 2>&1); then fail "it did not fail: ${*:2}: $said"; fi
  grep -q -- "$1" <<<"$said" || fail "no \"$1\" in: $said"
}

cat >program.cpp <<'CPP'
#include <cstdio>
int main(int argc, char* argv[]) {
  char text[64];
  std::snprintf(text, sizeof text, argv[argc - 1], argc);
  return std::puts(text);
}
CPP
guards=(-O2 -fPIE -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
links=(-pie "-Wl,-z,relro,-z,now,-z,noexecstack")
build() { "$compiler" -w program.cpp -o program "$@"; }

build "${guards[@]}" "${links[@]}"
tools/hardening program | grep -q '^program: PIE, full RELRO' || fail "not said of the hardened one"

# Each thing undone by itself.
build "${guards[@]}" "${links[@]}" -fno-PIE -no-pie
expect_failure 'no PIE' tools/hardening program
build "${guards[@]}" "${links[@]}" -Wl,-z,norelro
expect_failure 'no RELRO' tools/hardening program
build "${guards[@]}" "${links[@]}" -Wl,-z,lazy
expect_failure 'no immediate binding' tools/hardening program
build "${guards[@]}" "${links[@]}" -Wl,-z,execstack
expect_failure 'no stack that is not executed' tools/hardening program
build "${guards[@]}" "${links[@]}" -fno-stack-protector
expect_failure 'no stack protector' tools/hardening program
build "${guards[@]}" "${links[@]}" -U_FORTIFY_SOURCE
expect_failure 'no FORTIFY' tools/hardening program

build
cat >debian/floor.txt <<'TXT'
new any GLIBC_9.9 GLIBCXX_9.9 CXXABI_9.9 GCC_9.9
old any GLIBC_2.1 GLIBCXX_9.9 CXXABI_9.9 GCC_9.9
none any GLIBCXX_9.9
TXT
tools/floor new any program | grep -q '^new any: GLIBC_2' || fail "no version is told"
expect_failure 'allowed is GLIBC_2.1:' tools/floor old any program
expect_failure 'allowed is none:' tools/floor none any program
expect_failure 'says nothing of other' tools/floor other any program
"${CXX:-g++}" -shared -nostdlib -x c++ /dev/null -o empty
expect_failure 'asks for no version' tools/floor new any empty
echo "Each fault was found."
