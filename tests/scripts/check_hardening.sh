#!/bin/sh
# What is shipped has its tables read-only once it is loaded, guards its stack, looks for other
# libraries beside itself or nowhere, and needs none but those of the languages and zstd:
# check_hardening.sh LIBRARY...
set -eu
for library in "$@"; do
  fail() { echo "$library: $1" >&2; exit 1; }
  readelf -lW "$library" | grep -q GNU_RELRO || fail 'tables stay writable (relro)'
  readelf -lW "$library" | grep 'GNU_STACK' | grep -qv 'RWE' || fail 'the stack is executable'
  readelf -dW "$library" | grep -q 'FLAGS.*NOW' || fail 'functions are bound late'
  readelf -sW "$library" | grep -q __stack_chk_fail || fail 'the stack is not guarded'
  for needed in $(readelf -dW "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
    case $needed in
      libc.so.* | libm.so.* | libstdc++.so.* | libgcc_s.so.* | ld-linux* | libzstd.so.*) ;;
      libbtkf520.so.*) ;;
      *) fail "$needed is needed" ;;
    esac
  done
  ! readelf --dyn-syms -W "$library" | grep -q 'UND dlopen' || fail 'libraries are loaded later'
  paths=$(readelf -dW "$library" | sed -n 's/.*\(RPATH\|RUNPATH\).*\[\(.*\)\]/\2/p')
  case $paths in '' | '$ORIGIN') ;; *) fail "libraries are looked for in $paths" ;; esac
done
