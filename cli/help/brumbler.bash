# SPDX-License-Identifier: MIT
# bash completion for brumbler
_brumbler() {
  local kind word description
  COMPREPLY=()
  {
    read -r kind
    while IFS=$'\t' read -r word description; do COMPREPLY+=("$(printf %q "$word")"); done
  } < <("$1" complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
  word=${COMP_WORDS[COMP_CWORD]#=}
  case $kind in
    files) compopt -o default ;;
    json) compopt -o filenames -o plusdirs && mapfile -t COMPREPLY < <(compgen -f -X '!*.json' -- "$word") ;;
    folders) compopt -o filenames -o dirnames ;;
  esac
}
complete -F _brumbler brumbler
