#!/usr/bin/env bash
# Builds Lumivane optimised and installs it for you, or wherever you say.
#
#   scripts/install.sh [--prefix DIR]      DIR is ~/.local if not given
#
# What an earlier installation left in the same place is replaced. scripts/uninstall.sh removes it
# all again. LUMIVANE_BUILD_DIR names another build folder than build/release.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# shellcheck source=scripts/installation.bash
source "$root/scripts/installation.bash"
# shellcheck source=scripts/private-session.bash
source "$root/scripts/private-session.bash"

usage() { sed -n '2,7s/^# \{0,1\}//p' "$0"; }

prefix="${HOME:?}/.local"
while [[ $# -gt 0 ]]; do
  case "$1" in
    --prefix) prefix="${2:-}"; shift ;;
    --prefix=*) prefix="${1#--prefix=}" ;;
    -h | --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
  shift || true
done
prefix="$(whole_prefix "$prefix")"
build="${LUMIVANE_BUILD_DIR:-$root/build/release}"

stage=""
unfinished=""
clean_up() {
  [[ -z "$unfinished" ]] || rm -f -- "$unfinished"
  [[ -z "$stage" ]] || rm -rf -- "$stage"
}
trap clean_up EXIT
trap 'exit 130' INT TERM HUP

cd "$root"
scripts/install-deps.sh --run
cmake --preset release -B "$build" >/dev/null
cmake --build "$build" --target lumivane lumivane-service lumivane-packaging

# First into a folder of its own, so that what it is made of is known before anything is touched.
stage="$(mktemp -d "${TMPDIR:-/tmp}/lumivane-install-XXXXXX")"
DESTDIR="$stage" cmake --install "$build" --prefix "$prefix" >/dev/null
mapfile -t names < <(cd "$stage$prefix" && find . -type f -printf '%P\n' | LC_ALL=C sort)
[[ ${#names[@]} -gt 0 ]] || fail "the build has nothing to install"

for name in "${names[@]}" "$manifest_name"; do
  if [[ "$name" != */* ]] || ! is_plain_name "$name"; then
    fail "'$name' is no name for a file"
  fi
  leads_straight "$prefix" "$name" || fail "$prefix/$name lies behind a link"
  if [[ -L "$prefix/$name" || (-e "$prefix/$name" && ! -f "$prefix/$name") ]]; then
    fail "$prefix/$name is there and no file"
  fi
done

mapfile -t former_files < <(installed_names "$prefix" file)
mapfile -t folders < <(installed_names "$prefix" folder)

make_folder() { # below the prefix, with its parents
  local name=$1
  [[ ! -d "$prefix/$name" ]] || return 0
  [[ "$name" != */* ]] || make_folder "${name%/*}"
  mkdir -- "$prefix/$name"
  folders+=("$name")
}

write_manifest() { # of the given files
  unfinished="$prefix/$manifest_name.new"
  {
    printf 'file %s\n' "$@"
    [[ ${#folders[@]} -eq 0 ]] || printf 'folder %s\n' "${folders[@]}"
  } | LC_ALL=C sort -u >"$unfinished"
  mv -fT -- "$unfinished" "$prefix/$manifest_name"
  unfinished=""
}

mkdir -p -- "$prefix"
for name in "${names[@]}" "$manifest_name"; do
  make_folder "${name%/*}"
done
# Written before the files, so that even an installation that was cut short can be removed.
write_manifest "${names[@]}" "${former_files[@]}"

for name in "${names[@]}"; do
  # A program that runs keeps its old file, and nobody ever sees half a file.
  unfinished="$prefix/$name.new"
  cp --preserve=mode -- "$stage$prefix/$name" "$unfinished"
  mv -fT -- "$unfinished" "$prefix/$name"
  unfinished=""
  echo "Installed $prefix/$name"
done
for name in "${former_files[@]}"; do
  if [[ ! -e "$stage$prefix/$name" ]] && leads_straight "$prefix" "$name" &&
    [[ -f "$prefix/$name" && ! -L "$prefix/$name" ]]; then
    rm -f -- "$prefix/$name"
    echo "Removed $prefix/$name, which is no longer part of Lumivane"
  fi
done
write_manifest "${names[@]}"
refresh_desktop "$prefix"

echo "Lumivane is installed. Start it from your desktop's menu, or as $prefix/bin/lumivane."
case ":${XDG_DATA_HOME:-$HOME/.local/share}:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}:" in
  *":$prefix/share:"* | *":$prefix/share/:"*) ;;
  *) echo "Desktops look for menu entries in XDG_DATA_DIRS, where $prefix/share is not." ;;
esac
# From elsewhere than a desktop there is no telling what a session will have.
if [[ -n "${DBUS_SESSION_BUS_ADDRESS:-}" ]] && bus_answers && ! has_keyring &&
    ! can_start_keyring; then
    echo "Warning: no keyring answers in this session. Without one (org.freedesktop.secrets, such as"
    echo "gnome-keyring) nobody can log in: Lumivane keeps a login there and nowhere else."
fi
