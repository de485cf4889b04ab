# shellcheck shell=bash disable=SC2154
# What ./run says at its end. To be sourced behind places.sh and first-preferences.sh.

# What the user's preferences are read from, the strongest first.
preference_files() {
  local name folder
  for name in "$id" org.vantrel.Vantrel; do
    while IFS= read -r folder; do printf '%s\n' "$folder/$name.toml"; done < <(preference_folders)
  done
}

# A text of TOML, with its quotes, as an extended regular expression.
toml_text="(\"([^\"\\\\]|\\\\.)*\"|'[^']*')"

# place_in LINE: the place that a line "KEY = TEXT" names.
place_in() {
  local text="${1#*=}"
  text="${text#"${text%%[![:space:]]*}"}"
  case "$text" in
    \"*) text="$(sed 's/^"//; s/"$//; s/\\\(["\\]\)/\1/g' <<<"$text")" ;;
    *) text="${text:1:-1}" ;;
  esac
  # shellcheck disable=SC2088
  case "$text" in
    '~' | '~/'*) text="$HOME${text#'~'}" ;;
    file:*)
      text="${text#file:}"
      [[ "$text" != //* ]] || text="/${text#//*/}"
      text="${text//\\/\\\\}"
      printf -v text '%b' "${text//%/\\x}"
      ;;
  esac
  printf '%s\n' "$text"
}

# The folders that the preferences name, a line each.
named_folders() {
  local file line
  while IFS= read -r file; do
    grep -q '^[^#]*QuilloFolderArray' "$file" 2>/dev/null || continue
    while IFS= read -r line; do
      place_in "$line"
    done < <(grep -av '^ *#' "$file" | grep -aoE "path(Name|URI) *= *$toml_text")
    return
  done < <(preference_files)
}

# The engine that the preferences name; nothing where they name none.
named_engine() {
  local file line
  while IFS= read -r file; do
    line="$(grep -m 1 -aoEs "^ *PathToClamav *= *$toml_text" "$file")" || continue
    place_in "$line"
    return
  done < <(preference_files)
}

# folders THAT: those named folders that exist ("there"), or do not ("missing"), as words.
folders() {
  local folder words=""
  while IFS= read -r folder; do
    if [ -d "$folder" ]; then [ "$1" = there ] || continue; else [ "$1" = missing ] || continue; fi
    words="$words${words:+, }$(short "$folder")"
  done < <(named_folders)
  printf '%s' "$words"
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

# say_if_unseen PROCESS: says so when that agent cannot be seen.
say_if_unseen() {
  # The part of Qt that draws to nowhere.
  if grep -q '/platforms/libqoffscreen' "/proc/$1/maps" 2>/dev/null; then
    echo "It has no desktop to show itself on: what it finds stands in the scan log and nowhere else."
  elif [ -n "${WAYLAND_DISPLAY:-}" ] && ! has_place_for_icons &&
    ! grep -qs '^ *ShowDockIcon' "$preferences" "$config/vantrel/$id.toml"; then
    echo "This desktop has no place for its icon; warnings are shown all the same. For a window in the" \
      "task bar put ShowDockIcon = \"both\" into the preferences."
  fi
}

# Each thing that has to be well, in the main application's words; its judgement is for people.
say_what_is_well() {
  echo
  echo "What \`vantrel doctor\` says:"
  timeout 60 "$main_program" doctor </dev/null 2>&1 || true
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
