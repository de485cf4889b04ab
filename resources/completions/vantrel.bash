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
# Files of the quarantine may be named by their paths; sets the caller's `words`.
_vantrel_quarantine() {
  if [ "${COMP_WORDS[COMP_CWORD - 1]}" = --to ]; then
    _vantrel_paths "$1" -d
  elif [[ "$1" != -* ]]; then
    _vantrel_paths "$1"
  else
    case "${COMP_WORDS[2]}" in
      list) words=--json ;;
      restore) words='--all --json --make-folder --to' ;;
      *) words='--all --json' ;;
    esac
  fi
}
_vantrel_paths() {
  compopt -o filenames 2>/dev/null || true  # outside of a completion there is none
  local kind=-f
  [ -z "${2-}" ] || kind="$2"
  mapfile -t COMPREPLY < <(compgen "$kind" -- "$1")
}
complete -F _vantrel vantrel
