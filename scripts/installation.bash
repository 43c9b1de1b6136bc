# shellcheck shell=bash
# What install.sh and uninstall.sh share. Sourced, not run.

# Lists what was installed, by its place below the prefix: "file NAME", and "folder NAME" for the
# folders that were made for it.
manifest_name=share/lumivane/install-manifest

fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# The place of an installation: absolute, and without links in it.
whole_prefix() {
  local prefix
  [[ -n "$1" ]] || fail "--prefix needs a folder"
  prefix="$(realpath --canonicalize-missing -- "$1")"
  # Desktop entries have quoting rules of their own, and not all desktops know them.
  if [[ "$prefix" == / || "$prefix" == *[][[:space:][:cntrl:]\"\'\\\$\`%\<\>~\|\&\;\*?\#\(\)=]* ]]; then
    fail "the prefix may be neither / nor hold blanks or any of \"'\\\$\`%<>~|&;*?#()[]="
  fi
  echo "$prefix"
}

# Whether a name of a manifest is one that an installation can have written.
is_plain_name() {
  [[ "$1" =~ ^[A-Za-z0-9._+@/-]+$ && "/$1/" != *//* && "/$1/" != */../* && "/$1/" != */./* ]]
}

# Whether no folder between the prefix and what the name stands for is a link.
leads_straight() {
  local folder
  folder="$(dirname -- "$1/$2")"
  [[ "$(realpath --canonicalize-missing -- "$folder")" == "$folder" ]]
}

# The names of one kind ("file" or "folder") in the manifest of a prefix, sorted.
installed_names() {
  local prefix=$1 wanted=$2 kind name
  [[ -f "$prefix/$manifest_name" && ! -L "$prefix/$manifest_name" ]] || return 0
  leads_straight "$prefix" "$manifest_name" || return 0
  while read -r kind name; do
    if [[ "$kind" == "$wanted" ]] && is_plain_name "$name"; then
      echo "$name"
    fi
  done <"$prefix/$manifest_name" | LC_ALL=C sort -u
}

# Lets desktops know that entries and icons came or went.
refresh_desktop() {
  local prefix=$1
  if [[ -d "$prefix/share/applications" ]] && leads_straight "$prefix" share/applications/x &&
    command -v update-desktop-database >/dev/null; then
    update-desktop-database -q "$prefix/share/applications" ||
      echo "The list of applications could not be brought up to date." >&2
  fi
  if [[ -d "$prefix/share/icons/hicolor" ]]; then
    touch --no-create -- "$prefix/share/icons/hicolor" || true
  fi
}
