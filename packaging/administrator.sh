# shellcheck shell=bash
# Asks for an administrator, once. To be sourced.
as_root=()
asked=false
keeper=""

# ask_administrator WHY...: from now on "${as_root[@]}" before a command runs it as root, without
# another question, until done_as_root. Ends the script when there is no permission.
ask_administrator() {
  if $asked || [ "$(id -u)" -eq 0 ]; then return 0; fi
  asked=true
  if ! command -v sudo >/dev/null; then
    echo "An administrator has to do this, and there is no sudo to ask one with:" >&2
    printf '  %s\n' "$@" >&2
    echo "Install sudo, or run this as root." >&2
    exit 1
  fi
  as_root=(sudo)
  # Where no password is asked for, "sudo -v" could ask for one all the same.
  if ! sudo -n true 2>/dev/null; then
    echo "An administrator's permission is needed, this once:"
    printf '  %s\n' "$@"
    if ! sudo -v; then
      echo "Without that permission it cannot be done. Nothing was changed." >&2
      exit 1
    fi
  fi
  trap done_as_root EXIT
  # Longer than the permission lasts by itself. Ends with this script in any case.
  while kill -0 $$ 2>/dev/null && sudo -n true 2>/dev/null; do
    sleep 30
  done </dev/null >/dev/null 2>&1 &
  keeper=$!
}

done_as_root() {
  [ -z "$keeper" ] || kill "$keeper" 2>/dev/null || true
  keeper=""
}
