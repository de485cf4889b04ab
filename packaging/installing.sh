# shellcheck shell=bash
# To be sourced by what installs out of a build for its own ends.

# install_build BUILD WORD...: `cmake --install` with these words. An administrator who has installed out
# of this build left a list there, which is root's, and by which that installation can be taken away
# again: it stays as it is, and none is left where there was none.
install_build() {
  local list="$1/install_manifest.txt" status=0
  [ ! -e "$list" ] || mv -T -- "$list" "$list.kept"
  cmake --install "$@" >/dev/null || status=$?
  rm -f -- "$list"
  [ ! -e "$list.kept" ] || mv -T -- "$list.kept" "$list"
  return "$status"
}
