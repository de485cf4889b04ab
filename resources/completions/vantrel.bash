# shellcheck shell=bash
# Completion of vantrel(1) for bash.
_vantrel() {
  local current="${COMP_WORDS[COMP_CWORD]}" command="${COMP_WORDS[1]-}" words=
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    words='status doctor scan quarantine explain test --page --open --help --version'
  elif [ "$command" = --page ]; then
    ((COMP_CWORD > 2)) ||
      words='overview results quarantine folders settings scan planned start help'
  elif [ "$command" = quarantine ] && ((COMP_CWORD == 2)); then
    words='list restore delete check'
  else
    case "$command" in
      status | doctor | test) words=--json ;;
      quarantine) words=$(_vantrel_options "${COMP_WORDS[2]}") ;;
      scan | explain) if [[ "$current" == -* ]]; then words=--json; else _vantrel_paths "$current"; fi ;;
      --open) _vantrel_paths "$current" ;;
    esac
  fi
  if [ -n "$words" ]; then mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current"); fi
}
_vantrel_options() {
  case "$1" in
    restore) echo '--all --json --make-folder --to' ;;
    delete | check) echo '--all --json' ;;
    *) echo --json ;;
  esac
}
_vantrel_paths() {
  compopt -o filenames 2>/dev/null || true  # outside of a completion there is none
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}
complete -F _vantrel vantrel
