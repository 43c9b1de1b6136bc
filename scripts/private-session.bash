# shellcheck shell=bash
# A session bus and a keyring of one's own, for as long as a script runs. Sourced, not run; the
# caller ends the processes whose numbers come in `pids`.

# wait_until WHAT COMMAND...: a process that has been started need not serve yet.
wait_until() {
  local what=$1 end=$((SECONDS + ${patience:-60}))
  shift
  until "$@" >/dev/null 2>&1; do
    if [ "$SECONDS" -ge "$end" ]; then
      echo "$(basename "$0"): $what does not answer" >&2
      return 1
    fi
    sleep 0.1
  done
}

# Starts a bus in a folder that starts no services by itself, exports its address and waits for it.
start_private_bus() {
  local folder=$1
  cat >"$folder/bus.conf" <<CONFIGURATION
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=$folder/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONFIGURATION
  dbus-daemon --config-file="$folder/bus.conf" --nofork --nopidfile --nosyslog 2>"$folder/bus.log" &
  pids+=($!)
  export DBUS_SESSION_BUS_ADDRESS=unix:path=$folder/bus
  wait_until "the session bus" bus_answers
}

# Whether the session bus answers, and whether anything on it keeps secrets or would be started to.
bus_answers() { bus_names NameHasOwner string:org.freedesktop.DBus >/dev/null; }
bus_names() {
  dbus-send --session --print-reply --reply-timeout=2000 --dest=org.freedesktop.DBus \
    /org/freedesktop/DBus "org.freedesktop.DBus.$1" "${@:2}" 2>/dev/null
}
has_keyring() {
  bus_names NameHasOwner string:org.freedesktop.secrets | grep -q 'boolean true'
}
can_start_keyring() {
  bus_names ListActivatableNames | grep -q '"org.freedesktop.secrets"'
}

# Starts a keyring on the session bus and waits for it. It is kept in a folder, under a password that
# nobody knows.
start_private_keyring() {
  local folder=$1
  mkdir -m 0700 "$folder"
  head -c 32 /dev/urandom | base64 --wrap=0 |
    XDG_DATA_HOME=$folder XDG_RUNTIME_DIR=$folder XDG_CONFIG_HOME=$folder \
      gnome-keyring-daemon --foreground --unlock --components=secrets >/dev/null 2>"$folder/log" &
  pids+=($!)
  wait_until "the keyring" has_keyring
}
