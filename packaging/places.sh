# shellcheck shell=bash disable=SC2034
# Where ./run puts what, and how it remembers that. To be sourced by its steps.
umask 022
id=org.vantrel.VantrelQuillo
prefix="$HOME/.local"
data="${XDG_DATA_HOME:-$HOME/.local/share}"
config="${XDG_CONFIG_HOME:-$HOME/.config}"
program="$prefix/bin/vantrel-quillo"
main_program="$prefix/bin/vantrel"
resources="$prefix/lib/vantrel-quillo"
# A set-user-ID program lies where root alone can write; the agent finds it through a link.
helper="$(realpath -m /usr/local/lib/vantrel-quillo)/gfslogger"
autostart="$config/autostart/$id.desktop"
preferences="$config/vantrel/org.vantrel.Vantrel.toml"
engine="$data/vantrel/engine"
state="${XDG_STATE_HOME:-$HOME/.local/state}/vantrel"
log="$HOME/Library/Logs/VantrelQuillo-scan.log"
update_log="$HOME/Library/Logs/vantrel-freshclam.log"

# What was done, for --remove. A line each: what it is, its digest (that of a link: where it leads; or
# nothing), its path, with "|" between them. While files are exchanged, a path has both of its lines.
record="$resources/installed"

# noted KIND [PATH]: the lines of that kind.
noted() {
  [ -f "$record" ] || return 0
  KIND="$1" PLACE="${2:-}" awk -F '|' \
    '{ path = substr($0, length($1) + length($2) + 3) }
     $1 == ENVIRON["KIND"] && (ENVIRON["PLACE"] == "" || path == ENVIRON["PLACE"])' "$record"
}

# note KIND DIGEST PATH: in place of what is noted of that path.
note() {
  {
    [ ! -f "$record" ] || KIND="$1" PLACE="$3" awk -F '|' \
      '{ path = substr($0, length($1) + length($2) + 3) }
       !($1 == ENVIRON["KIND"] && path == ENVIRON["PLACE"])' "$record"
    printf '%s|%s|%s\n' "$1" "$2" "$3"
  } >"$record.new"
  mv -T -- "$record.new" "$record"
}

digest_of() { local sum; sum="$(sha256sum <"$1")"; echo "${sum%% *}"; }

# is_one_of PATH DIGESTS: whether there is what one of these lines has noted.
is_one_of() {
  local digest
  if [ -L "$1" ]; then
    digest="$(readlink -- "$1")"
    # Records did not always say where a link leads.
    [ -n "$2" ] || return 0
  else
    [ -f "$1" ] || return 1
    digest="$(digest_of "$1")"
  fi
  grep -qxF -e "$digest" <<<"$2"
}

# plan_folder PATH: puts it into `made` if it is missing, with what is missing above it.
made=()
plan_folder() {
  [ ! -d "$1" ] || return 0
  plan_folder "$(dirname "$1")"
  made+=("$1")
}
make_folder() {
  plan_folder "$1"
  mkdir -p -- "$1"
}
note_made() {
  local folder
  for folder in "${made[@]}"; do note folder "" "$folder"; done
  made=()
}

# As a person writes it.
short() { case "$1" in "$HOME"/*) echo "~${1#"$HOME"}" ;; *) echo "$1" ;; esac; }

# running NAME: this user's processes of programs of that name, a line each: process, program. Those of
# other process namespaces, such as the demonstration's, are none of ours.
running() {
  local process program here
  here="$(readlink /proc/self/ns/pid)"
  for process in /proc/[0-9]*; do
    [ -O "$process" ] || continue
    program="$(readlink "$process/exe" 2>/dev/null)" || continue
    case "${program% (deleted)}" in */"$1") ;; *) continue ;; esac
    [ "$(readlink "$process/ns/pid" 2>/dev/null)" = "$here" ] || continue
    echo "${process#/proc/} $program"
  done
}

# stop PROCESS: asks it to quit and waits; it may be loading the engine. False when it stays.
stop() {
  kill "$1" 2>/dev/null || return 0
  timeout 90 tail --pid="$1" -s 0.1 -f /dev/null
}
