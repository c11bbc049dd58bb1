# Completes commands, options, their values and adapters of zvctl in bash. The tool itself knows what fits.

_zvctl() {
  # A word that is being typed may contain quotes, which the tool does not expect.
  local words=("${COMP_WORDS[@]:1:COMP_CWORD}")
  words[-1]=${words[-1]//[\'\"]/}
  mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" --complete-args "${words[@]}" 2>/dev/null)
}

# File names where the tool has no proposal, for example after --machine.
complete -o default -F _zvctl zvctl
