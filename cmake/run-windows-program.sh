#!/bin/bash
# Runs a Windows program under Wine and exits with its code. Wine's background processes keep running and would
# hold the caller's outputs open, so the program's outputs are redirected to a file and printed afterwards.
said=$(mktemp)
timeout --signal=KILL 50 wine "$@" </dev/null >"$said" 2>&1
code=$?
cat -- "$said"
rm -f -- "$said"
exit "$code"
