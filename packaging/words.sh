# shellcheck shell=bash disable=SC2154
# What ./run says at its end, and the first preferences. To be sourced behind places.sh.

# As text between the quotes of TOML.
quoted() {
  local text="${1//\\/\\\\}"
  printf '%s' "${text//\"/\\\"}"
}

first_preferences() {
  local first
  first="$(<"$resources/preferences/first.toml.in")"
  first="${first//@ENGINE@/"$(quoted "$engine")"}"
  first="${first//@UPDATE_LOG@/"$(quoted "$update_log")"}"
  first="${first//@FOLDER@/"~/Downloads"}"
  printf '%s\n' "$first"
}

# The folders that the preferences name, a line each, as they stand there.
named_folders() {
  local file
  for file in "$config/vantrel/$id.toml" "$preferences"; do
    if grep -q '^[^#]*QuilloFolderArray' "$file" 2>/dev/null; then
      grep -v '^ *#' "$file" | grep -oE "path(Name|URI) *= *(\"[^\"]*\"|'[^']*')" |
        sed -E "s/^path(Name|URI) *= *.(.*).\$/\\2/" || true
      return
    fi
  done
}

guarded_folders() {
  local folder words=""
  while IFS= read -r folder; do
    words="$words${words:+, }$(short "$folder")"
  done < <(named_folders)
  printf '%s' "$words"
}

missing_folders() {
  local folder place
  while IFS= read -r folder; do
    # shellcheck disable=SC2088
    case "$folder" in '~' | '~/'*) place="$HOME${folder#'~'}" ;; *) place="$folder" ;; esac
    case "$place" in
      file:*) ;;
      *) [ -d "$place" ] || echo "There is no folder $folder yet; what appears there is guarded once there is." ;;
    esac
  done < <(named_folders)
}

# start_of PROCESS: when it was started, with the day if that is another.
start_of() {
  local began
  began="$(ps -o lstart= -p "$1")"
  if [ "$(date -d "$began" +%F)" = "$(date +%F)" ]; then
    date -d "$began" +%H:%M
  else
    date -d "$began" '+%F, %H:%M'
  fi
}

# Whether a program of the session offers a place for status icons; also true where nobody can say.
has_place_for_icons() {
  local answer
  answer="$(busctl --user --timeout=2 call org.freedesktop.DBus /org/freedesktop/DBus \
    org.freedesktop.DBus NameHasOwner s org.kde.StatusNotifierWatcher 2>/dev/null)" || return 0
  [ "$answer" != "b false" ]
}

# faces PROCESS: says so when that agent cannot be seen.
faces() {
  # The part of Qt that draws to nowhere.
  if grep -q '/platforms/libqoffscreen' "/proc/$1/maps" 2>/dev/null; then
    echo "It has no desktop to show itself on: what it finds stands in the scan log and nowhere else."
  elif [ -n "${WAYLAND_DISPLAY:-}" ] && ! has_place_for_icons &&
    ! grep -qs '^ *ShowDockIcon' "$preferences" "$config/vantrel/$id.toml"; then
    echo "This desktop has no place for its icon; warnings are shown all the same. For a window in the" \
      "task bar put ShowDockIcon = \"both\" into the preferences."
  fi
}

# Desktops that start what lies in the autostart folder; others leave that to their user.
at_login() {
  local exec
  if [ ! -e "$autostart" ]; then
    echo "it does not start by itself."
    return
  fi
  if [ "$(noted file "$autostart" | cut -d "|" -f 2)" != "$(digest_of "$autostart")" ]; then
    echo "as you have decided in $(short "$autostart")."
    return
  fi
  exec="exec $(short "$program")"
  case "${XDG_CURRENT_DESKTOP:-}" in
    *GNOME* | *KDE* | *XFCE* | *MATE* | *Cinnamon* | *LXDE* | *LXQt* | *Budgie* | *Pantheon* | *Unity* | *Deepin*)
      echo "it starts by itself ($(short "$autostart"))." ;;
    sway) echo "sway starts nothing by itself; put this line into ~/.config/sway/config: $exec" ;;
    *)
      echo "it starts by itself ($(short "$autostart")) where the desktop starts what lies" \
        "there; where none does, have yours run $(short "$program")" ;;
  esac
}
