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
      quarantine) _vantrel_quarantine "$current" ;;
      scan | explain) if [[ "$current" == -* ]]; then words=--json; else _vantrel_paths "$current"; fi ;;
      --open) _vantrel_paths "$current" ;;
    esac
  fi
  if [ -n "$words" ]; then mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current"); fi
}
_vantrel_quarantine() {
  if [ "${COMP_WORDS[COMP_CWORD - 1]}" = --to ]; then
    _vantrel_paths "$1"
    return
  fi
  words=--json
  case "${COMP_WORDS[2]}" in
    restore) words='--json --all --to --make-folder' ;;
    delete | check) words='--json --all' ;;
  esac
}
_vantrel_paths() {
  compopt -o filenames 2>/dev/null || true  # outside of a completion there is none
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}
complete -F _vantrel vantrel
