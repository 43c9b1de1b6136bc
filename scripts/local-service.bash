# shellcheck shell=bash disable=SC2034 # names for the callers
# What local-up and local-down share. Sourced, not run; `root` is the tree's folder.

run_folder="${XDG_RUNTIME_DIR:+$XDG_RUNTIME_DIR/lumivane}"
run_folder="${run_folder:-/tmp/lumivane-$UID}"
pid_file="$run_folder/service.pid"     # process, its start time, its executable
start_file="$run_folder/service.start" # the line that tells the address
log_file="$run_folder/service.log"
patience="${LUMIVANE_START_PATIENCE:-30}" # seconds until the service has to answer

complain() { echo "$(basename "$0"): $*" >&2; }

# A folder in /tmp may have been put there by someone else.
prepare_run_folder() {
  (umask 077 && mkdir -p "$run_folder")
  if [[ -L "$run_folder" || ! -O "$run_folder" || "$(stat -c %a "$run_folder")" != 700 ]]; then
    complain "$run_folder must be a folder of yours with mode 0700"
    exit 1
  fi
}

# The kernel's start time: tells a process from a later one with the same number.
start_time() {
  local stat
  local -a fields
  stat="$(cat "/proc/$1/stat" 2>/dev/null)" || return 1
  read -ra fields <<<"${stat##*) }"
  echo "${fields[19]}"
}

recorded_pid() {
  [[ ! -f "$pid_file" ]] || cut -d ' ' -f 1 "$pid_file"
}

# Whether the process is the one that was started: same start time, same executable.
is_ours() {
  local pid started program
  [[ -f "$pid_file" ]] || return 1
  read -r pid started program <"$pid_file" || return 1
  [[ "$pid" == "$1" && "$(start_time "$pid")" == "$started" ]] || return 1
  local running
  running="$(readlink "/proc/$pid/exe")" || return 1
  [[ "${running% (deleted)}" == "$program" ]]
}

# The address of the running service; fails when none runs.
running_url() {
  local pid line
  pid="$(recorded_pid)"
  if [[ -z "$pid" ]] || ! is_ours "$pid"; then
    return 1
  fi
  line="$(cat "$start_file" 2>/dev/null)"
  [[ "$line" == "listening on http://"* ]] || return 1
  echo "${line#listening on }"
}

# "HOST PORT" of an address. An IPv6 host stands in brackets there and without them here.
place_of() {
  local address="${1#http://}"
  local host="${address%:*}"
  host="${host#[}"
  echo "${host%]} ${address##*:}"
}

# Whether healthz says ok. With bash's own sockets: a bare machine has no other HTTP client.
answers() {
  local host port line
  read -r host port <<<"$(place_of "$1")"
  exec 8<>"/dev/tcp/$host/$port" || return 1
  printf 'GET /healthz HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n' >&8
  read -r -t 5 line <&8 || line=""
  exec 8>&-
  [[ "$line" == "HTTP/1.1 200 "* ]]
}

# The first of these commands that this machine knows: an engine alone need not know `compose`.
compose_command() {
  local command
  for command in "docker compose" "podman compose" podman-compose; do
    # shellcheck disable=SC2086 # a command and its first word
    if $command version >/dev/null 2>&1; then
      echo "$command"
      return
    fi
  done
  complain "none of 'docker compose', 'podman compose' and 'podman-compose' is there"
  return 1
}

# With the compose file of this tree. The database's password is made at the first use; nobody has
# to know it.
compose() {
  local command password_file="${XDG_DATA_HOME:-$HOME/.local/share}/lumivane-service/database-password"
  command="$(compose_command)" || return 1
  if [[ ! -s "$password_file" ]]; then
    (umask 077 && mkdir -p "${password_file%/*}" &&
      od -An -N 24 -tx1 /dev/urandom | tr -d ' \n' >"$password_file")
  fi
  # shellcheck disable=SC2086,SC2154 # a command and its first word; the caller's root
  LUMIVANE_DATABASE_PASSWORD="$(cat "$password_file")" \
    $command --project-name lumivane --file "$root/packaging/compose.yaml" "$@"
}

start_containers() {
  local url="http://127.0.0.1:${LUMIVANE_SERVICE_PORT:-8787}" end
  compose up --build --detach || return 1
  end=$((SECONDS + patience))
  until answers "$url" 2>/dev/null; do
    if [[ "$SECONDS" -ge "$end" ]]; then
      complain "the service did not answer on $url within $patience seconds"
      return 1
    fi
    sleep 0.1
  done
  echo "The service is running on $url (log: compose logs, project lumivane)."
}
