The tool completes its own words.

  $ complete() { zvctl --complete-args "$@" | paste -sd ' '; }
  $ complete l
  list
  $ complete reg ''
  read write delete
  $ complete list --f
  --filter
  $ complete list --filter ZV_P
  ZV_PCIE
  $ complete --color ''
  auto always never
  $ complete reg write 0 N --type d
  dword
  $ complete info wl9
  WL900E
  $ echo '{"adapters": [{"netCfgInstanceId": "{twin}", "hardwareId": "X", "service": "zvwlane"}]}' >m.json
  $ complete --machine m.json info '{'
  {twin}
  $ complete help l
  list
  $ complete list nothing
  
  $ complete --machine /nowhere info ''
  

bash passes its words to the tool.

  $ bash --norc -c '
  >   source "$ZV_SOURCE/Tools/zvctl/Completion/zvctl.bash"
  >   zvctl() { "$ZVCTL" "$@"; }
  >   complete -p zvctl
  >   try() { COMP_WORDS=(zvctl "$@") COMP_CWORD=$#; _zvctl; echo "${COMPREPLY[*]}"; }
  >   try wat
  >   try info "\"WL6"
  >   try reg ""
  >   try ""
  > ' | cut -c 1-60
  complete -o default -F _zvctl zvctl
  watch
  WL600U WL630U WL610S
  read write delete
  tour list info ability enable disable get set ioctl bench re
