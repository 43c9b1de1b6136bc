#!/usr/bin/env bash
# Removes what scripts/install.sh installed: stops the program, ends its start at login, removes its
# files. Says what it does, and may be run again at any time.
#
#   scripts/uninstall.sh [--prefix DIR] [--reset-settings]      DIR is ~/.local if not given
#
# --reset-settings also forgets all settings and removes what Lumivane keeps in your keyring: the
# login, and the identifier of this computer. Start at login, settings and keyring are those of the
# user who runs this.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# shellcheck source=scripts/installation.bash
source "$root/scripts/installation.bash"

usage() { sed -n '2,9s/^# \{0,1\}//p' "$0"; }

prefix="${HOME:?}/.local"
resets_settings=""
while [[ $# -gt 0 ]]; do
  case "$1" in
    --prefix) prefix="${2:-}"; shift ;;
    --prefix=*) prefix="${1#--prefix=}" ;;
    --reset-settings) resets_settings=yes ;;
    -h | --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
  shift || true
done
prefix="$(whole_prefix "$prefix")"
program="$prefix/bin/lumivane"

# A folder that is not absolute does not count.
configuration="${XDG_CONFIG_HOME:-}"
[[ "$configuration" == /* ]] || configuration="$HOME/.config"

status=0
incomplete() {
  echo "$*"
  status=1
}

# The processes of this user that run the installed program, and no others. Asking the message bus
# would miss a session without one, and find a program that was started from somewhere else.
instances() {
  find /proc/[0-9]*/exe -maxdepth 0 -user "$(id -u)" \
    \( -lname "$program" -o -lname "$program (deleted)" \) -printf '%h\n' 2>/dev/null |
    sed 's|.*/||' || true # a process that ends meanwhile
}

stop_program() {
  local pids
  mapfile -t pids < <(instances)
  if [[ ${#pids[@]} -eq 0 ]]; then
    echo "Lumivane is not running."
    return
  fi
  kill -TERM "${pids[@]}" 2>/dev/null || true
  for _ in $(seq 200); do
    mapfile -t pids < <(instances)
    if [[ ${#pids[@]} -eq 0 ]]; then
      echo "Stopped Lumivane."
      return
    fi
    sleep 0.05
  done
  fail "Lumivane does not stop (process ${pids[*]}). Nothing was removed; quit it and run this again."
}

# One job of the program itself. It needs no display; the limit is for one that is broken.
maintain() {
  [[ -f "$program" && -x "$program" ]] || return 1
  # The group keeps the shell quiet about a program that crashes.
  { timeout --kill-after=5 20 "$program" "$1" </dev/null >/dev/null; } 2>/dev/null
}

# Removes a file of the user's that the program did not remove itself.
remove_leftover() {
  if [[ -f "$1" && ! -L "$1" ]] && rm -f -- "$1"; then
    echo "Removed $1"
  elif [[ -e "$1" || -L "$1" ]]; then
    incomplete "Left $1, which cannot be removed or is no plain file."
  fi
}

# Whether an entry has a command in which the installed program is no word. An entry without a
# command, such as one that only hides, is the program's by its name. The places of installations
# hold nothing that a command would have to escape.
starts_another() {
  local line group="" word
  local -a words
  while IFS= read -r line || [[ -n "$line" ]]; do
    if [[ "$line" == "["* ]]; then
      group="${line%$'\r'}"
    elif [[ "$group" == "[Desktop Entry]" && "$line" =~ ^Exec[[:blank:]]*=(.*)$ ]]; then
      read -ra words <<<"${BASH_REMATCH[1]//[\"$'\r']/}"
      for word in "${words[@]}"; do
        [[ "$word" != "$program" ]] || return 1
      done
      [[ ${#words[@]} -eq 0 ]] || return 0
    fi
  done <"$1"
  return 1
}

end_start_at_login() {
  local entry="$configuration/autostart/com.marnoth.Lumivane.desktop"
  if [[ -f "$entry" ]] && starts_another "$entry"; then
    echo "Left $entry, which starts another program."
    return
  fi
  local was_there=""
  [[ ! -e "$entry" && ! -L "$entry" ]] || was_there=yes
  maintain --unregister-login-item || true
  remove_leftover "$entry"
  if [[ -z "$was_there" ]]; then
    echo "Lumivane did not start at login."
  elif [[ ! -e "$entry" && ! -L "$entry" ]]; then
    echo "Lumivane no longer starts at login."
  fi
}

forget_settings() {
  local folder="$configuration/lumivane" file stays=""
  maintain --reset-settings || true
  # What a killed process was about to write, and what tests of the interface used, go as well.
  for file in "$folder"/{settings,com.marnoth.Lumivane.Testing}.json{,.damaged*} \
    "$folder"/.{settings,com.marnoth.Lumivane.Testing}.json-*.tmp; do
    remove_leftover "$file"
    [[ ! -e "$file" && ! -L "$file" ]] || stays=yes
  done
  if [[ -d "$folder" && ! -L "$folder" ]]; then
    rmdir -- "$folder" 2>/dev/null || true
  fi
  [[ -n "$stays" ]] || echo "All settings are forgotten."
}

# A keyring that is locked asks the user and waits; one that hangs says nothing at all.
remove_from_keyring() {
  local what=$1 service=$2 complaint code=0
  complaint="$(timeout --kill-after=5 "${LUMIVANE_KEYRING_LIMIT:-60}" \
    secret-tool clear service "$service" 2>&1 </dev/null)" || code=$?
  if [[ $code -eq 0 ]]; then
    echo "Removed $what ($service) from your keyring."
  elif [[ $code -eq 124 || $code -eq 137 ]]; then
    incomplete "Your keyring did not answer; $what ($service) may still be in it."
  elif [[ -z "$complaint" ]]; then
    echo "Your keyring does not hold $what ($service)."
  else
    echo "No keyring can be reached, so $what ($service) was not looked for."
    echo "If you ever signed in, run this again within your desktop session."
  fi
}

clear_keyring() {
  if ! command -v secret-tool >/dev/null; then
    incomplete "Your keyring was not looked at: secret-tool is missing (package libsecret-tools)."
    return
  fi
  remove_from_keyring "the login" com.marnoth.Lumivane.authentication
  remove_from_keyring "the identifier of this computer" com.marnoth.Lumivane.device
}

remove_file() {
  local file="$prefix/$1"
  if ! leads_straight "$prefix" "$1"; then
    incomplete "Left $file, which now lies behind a link."
  elif [[ -f "$file" && ! -L "$file" ]]; then
    rm -f -- "$file"
    echo "Removed $file"
  elif [[ -e "$file" || -L "$file" ]]; then
    incomplete "Left $file, which is not what was installed."
  else
    echo "Already gone: $file"
  fi
}

remove_folder() {
  local folder="$prefix/$1"
  [[ -d "$folder" && ! -L "$folder" ]] && leads_straight "$prefix" "$1" || return 0
  if [[ "$1" == share/applications && "$(ls -A -- "$folder")" == mimeinfo.cache ]]; then
    rm -f -- "$folder/mimeinfo.cache" # of a list that is empty now
  fi
  if rmdir -- "$folder" 2>/dev/null; then
    echo "Removed $folder/"
  fi
}

remove_installation() {
  local files folders name
  mapfile -t files < <(installed_names "$prefix" file)
  mapfile -t folders < <(installed_names "$prefix" folder | tac)
  if [[ ${#files[@]} -eq 0 ]]; then
    echo "Nothing is installed in $prefix."
    return
  fi
  for name in "${files[@]}"; do
    remove_file "$name"
  done
  refresh_desktop "$prefix"
  remove_file "$manifest_name"
  for name in "${folders[@]}"; do
    remove_folder "$name"
  done
}

stop_program
end_start_at_login
if [[ -n "$resets_settings" ]]; then
  forget_settings
  clear_keyring
fi
remove_installation
if [[ $status -eq 0 ]]; then
  echo "Lumivane is uninstalled."
  [[ -n "$resets_settings" ]] ||
    echo "Your settings and your login stay; --reset-settings removes them as well."
else
  echo "Not everything could be removed; see above." >&2
fi
exit $status
