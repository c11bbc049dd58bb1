The manual page has no formatting errors, and describes every command.

  $ page=$ZV_BUILD/zvctl.1
  $ groff -man -Tascii -P-cbou -ww "$page" >text
  $ grep -E '^[A-Z]' text | grep -vE '^ZVCTL'
  NAME
  SYNOPSIS
  DESCRIPTION
  OPTIONS
  EXIT STATUS
  ENVIRONMENT
  FILES
  EXAMPLES
  $ zvctl --help | grep -oE '^  [a-z]+ ' | while read -r name; do grep -qw "$name" text || echo "missing: $name"; done
