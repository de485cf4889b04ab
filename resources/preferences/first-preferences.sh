# shellcheck shell=bash
# The first preferences of whoever has none, for what starts the agent at log-in and for ./run. To be
# sourced; lies beside the template. The agent writes the same ones where its user asks for them.
first_template="$(dirname "${BASH_SOURCE[0]}")/first.toml.in"
first_folder="${XDG_CONFIG_HOME:-$HOME/.config}/vantrel"
first_preferences="$first_folder/org.vantrel.Vantrel.toml"

# The folders with preferences, the user's own first.
preference_folders() {
  local folder folders
  IFS=: read -r -a folders <<<"${XDG_CONFIG_DIRS:-/etc/xdg}"
  printf '%s\n' "$first_folder"
  for folder in "${folders[@]}"; do
    case "$folder" in /*) printf '%s\n' "${folder%/}/vantrel" ;; esac
  done
}

# Whether the user, or an administrator for all users, has chosen already. A link that leads nowhere is a
# choice as well.
have_preferences() {
  local folder
  while IFS= read -r folder; do
    if [ -e "$folder/org.vantrel.Vantrel.toml" ] || [ -L "$folder/org.vantrel.Vantrel.toml" ] ||
      grep -qs '^ *PathToClamav' "$folder/org.vantrel.VantrelQuillo.toml"; then
      return 0
    fi
  done < <(preference_folders)
  return 1
}

# Where this user's browsers save files, whatever the folder is called in the user's language.
downloads() {
  local folder=""
  if command -v xdg-user-dir >/dev/null; then folder="$(xdg-user-dir DOWNLOAD)"; fi
  # A folder that does not exist is told to be the home folder.
  if [ -z "$folder" ] || [ "${folder%/}" = "${HOME%/}" ]; then folder="$HOME/Downloads"; fi
  printf '%s' "${folder%/}"
}

# As text between the quotes of TOML.
quoted() {
  local text="${1//\\/\\\\}"
  printf '%s' "${text//\"/\\\"}"
}

# write_first_preferences ENGINE UPDATE_LOG: with the folder for downloads, which is made where it is
# missing. Whole or not at all, and nobody else's business. False where they cannot be written, or where
# some are there.
write_first_preferences() {
  local folder text partial status=1
  folder="$(downloads)"
  mkdir -p "$first_folder" "$folder" "$(dirname "$2")" || return
  text="$(<"$first_template")" || return
  text="${text//@ENGINE@/"$(quoted "$1")"}"
  text="${text//@UPDATE_LOG@/"$(quoted "$2")"}"
  text="${text//@FOLDER@/"$(quoted "${folder/#"$HOME/"/"~/"}")"}"
  partial="$(mktemp "$first_folder/.first-XXXXXX")" || return
  # Another session of this user may have been quicker.
  if printf '%s\n' "$text" >"$partial" && ln "$partial" "$first_preferences"; then status=0; fi
  rm -f "$partial"
  return "$status"
}
