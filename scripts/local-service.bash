# What local-up and local-down share. Sourced, not run.

run_folder="${XDG_RUNTIME_DIR:+$XDG_RUNTIME_DIR/lumivane}"
run_folder="${run_folder:-/tmp/lumivane-$UID}"
pid_file="$run_folder/service.pid"     # process, its start time, its executable
start_file="$run_folder/service.start" # the line that tells the address
log_file="$run_folder/service.log"

# A folder in /tmp may have been put there by someone else.
prepare_run_folder() {
    mkdir -p -m 0700 "$run_folder"
    if [[ -L "$run_folder" || ! -O "$run_folder" || "$(stat -c %a "$run_folder")" != 700 ]]; then
        echo "$run_folder must be a folder of yours with mode 0700" >&2
        exit 1
    fi
}

# The kernel's start time: tells a process from a later one with the same number.
start_time() {
    local stat
    stat="$(cat "/proc/$1/stat" 2>/dev/null)" || return 1
    stat="${stat##*) }"
    set -- $stat
    echo "${20}"
}

recorded_pid() {
    [[ -f "$pid_file" ]] && cut -d ' ' -f 1 "$pid_file" || true
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
    local pid
    pid="$(recorded_pid)"
    [[ -n "$pid" ]] && is_ours "$pid" || return 1
    local line
    line="$(cat "$start_file" 2>/dev/null)"
    [[ "$line" == "listening on http://"* ]] || return 1
    echo "${line#listening on }"
}

# Whether healthz says ok. With bash's own sockets: a bare machine has no other HTTP client.
answers() {
    local address="${1#http://}" line
    exec 8<>"/dev/tcp/${address%:*}/${address##*:}" || return 1
    printf 'GET /healthz HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n' >&8
    read -r -t 5 line <&8 || line=""
    exec 8>&-
    [[ "$line" == "HTTP/1.1 200 "* ]]
}

# docker or podman, whichever is there, with the compose file of this tree. The database's password
# is made at the first use; nobody has to know it.
compose() {
    local engine password_file="${XDG_DATA_HOME:-$HOME/.local/share}/lumivane-service/database-password"
    engine="$(command -v docker || command -v podman)" || {
        echo "local-up: neither docker nor podman is there" >&2
        return 1
    }
    if [[ ! -s "$password_file" ]]; then
        mkdir -p -m 0700 "${password_file%/*}"
        (umask 077 && od -An -N 24 -tx1 /dev/urandom | tr -d ' \n' >"$password_file")
    fi
    LUMIVANE_DATABASE_PASSWORD="$(cat "$password_file")" \
        "$engine" compose --file "$root/packaging/compose.yaml" "$@"
}

start_containers() {
    local url="http://127.0.0.1:${LUMIVANE_SERVICE_PORT:-8787}"
    compose up --build --detach --wait || return 1
    for _ in $(seq 100); do
        if answers "$url" 2>/dev/null; then
            echo "The service is running on $url (log: compose logs, project lumivane)."
            return 0
        fi
        sleep 0.1
    done
    echo "local-up: the service does not answer on $url" >&2
    return 1
}
