#!/bin/sh
# What is shipped has its tables read-only once it is loaded, guards its stack, and looks for other
# libraries beside itself or nowhere: check_hardening.sh LIBRARY...
set -eu
for library in "$@"; do
  fail() { echo "$library: $1" >&2; exit 1; }
  readelf -lW "$library" | grep -q GNU_RELRO || fail 'tables stay writable (relro)'
  readelf -lW "$library" | grep 'GNU_STACK' | grep -qv 'RWE' || fail 'the stack is executable'
  readelf -dW "$library" | grep -q 'FLAGS.*NOW' || fail 'functions are bound late'
  readelf -sW "$library" | grep -q __stack_chk_fail || fail 'the stack is not guarded'
  paths=$(readelf -dW "$library" | sed -n 's/.*\(RPATH\|RUNPATH\).*\[\(.*\)\]/\2/p')
  case $paths in '' | '$ORIGIN') ;; *) fail "libraries are looked for in $paths" ;; esac
done
