#!/bin/bash
# Runs a Windows program under Wine and ends when the program does. What Wine starts beside it stays,
# and must not hold the caller's outputs open, so these go through a file.
said=$(mktemp)
timeout --signal=KILL 50 wine "$@" </dev/null >"$said" 2>&1
code=$?
cat -- "$said"
rm -f -- "$said"
exit "$code"
