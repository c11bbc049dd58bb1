#!/bin/bash
# Runs a Windows program under Wine and returns when the program exits. Wine's background processes stay
# and must not keep the caller's outputs open, so the outputs are redirected to a file.
said=$(mktemp)
timeout --signal=KILL 50 wine "$@" </dev/null >"$said" 2>&1
code=$?
cat -- "$said"
rm -f -- "$said"
exit "$code"
