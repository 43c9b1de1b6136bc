#!/usr/bin/env bash
# Installs what Lumivane needs on Debian 12. Run it as root, or as a user who may use sudo.
#
#   scripts/install-deps.sh            everything
#   scripts/install-deps.sh --run      what building and `make run` need
#   scripts/install-deps.sh --test     what building, the tests and the checks need
#
# It looks first and touches neither network nor system when nothing is missing.
set -euo pipefail

build_packages=(
  # tools
  build-essential g++ cmake ninja-build ccache git make pkg-config ca-certificates
  # runs the solutions of the practice memory
  python3
  # toolkit, coroutines over it, JSON
  qt6-base-dev qt6-qpa-plugins qt6-declarative-dev qt6-declarative-dev-tools qcoro-qt6-dev
  nlohmann-json3-dev
  # the ahead-of-time compiler of the views looks these up while building; nothing pulls them in
  qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
  qml6-module-qtquick-shapes qml6-module-qtquick-templates qml6-module-qtquick-window
  qml6-module-qttest
  # reading text
  libtesseract-dev libleptonica-dev
  # inline Markdown
  libmd4c-dev libmd4c-html0-dev
  # keyring, probes
  libsecret-1-dev systemtap-sdt-dev
  # the display server
  libxcb1-dev libxcb-shm0-dev libxcb-composite0-dev libxcb-randr0-dev libxcb-xfixes0-dev
  libxcb-render0-dev libxcb-render-util0-dev libxcb-shape0-dev libxcb-keysyms1-dev
  libxcb-util-dev libxcb-xtest0-dev libxcb-res0-dev
  # the session manager: its end, and in the tests its other side
  libice-dev libsm-dev
  # the service
  libboost1.81-dev libboost-json1.81-dev libboost-url1.81-dev libboost-container1.81-dev
  libboost-system1.81-dev libsoci-dev libpq-dev libsqlite3-dev libssl-dev
  # every configured tree holds the tests and the benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
)

run_packages=(
  tesseract-ocr tesseract-ocr-eng
  # a display for machines without one, and what looks at it
  xvfb openbox xdotool x11-utils x11-xserver-utils imagemagick
  xclip fonts-dejavu fonts-liberation dbus
  # an installation: the list of applications, and the keyring when it goes
  desktop-file-utils libsecret-tools
  # opens addresses in the user's browser
  xdg-utils
  # keeps the login where the desktop has nothing that does
  gnome-keyring
  # scripts of the world for the pictures of the panels
  fonts-noto-color-emoji fonts-wqy-microhei
)

test_packages=(
  clang clang-format clang-tidy libclang-rt-14-dev shellcheck
  # a compositor, the accessibility bus and the settings portal, started by the tests themselves
  picom at-spi2-core xdg-desktop-portal
  # looks at processes
  procps
  # what shows notifications, what reads autostart entries at the start of a session
  dunst dex libglib2.0-bin systemd
  # trays of both kinds: one that embeds windows, and a desktop's panel
  trayer xfce4-panel
  # the service's other database, and the description of its answers, compared with them
  postgresql-15 python3-jsonschema python3-yaml
  # a browser for logins
  chromium
)

# Other packagings of Node.js bring npm along and do not go together with Debian's.
if ! command -v npm >/dev/null; then
  # an OpenID provider to log in at
  test_packages+=(nodejs npm)
fi

usage() { sed -n '2,8s/^# \{0,1\}//p' "$0"; }

wanted=("${build_packages[@]}")
case "${1:-all}" in
  all) wanted+=("${run_packages[@]}" "${test_packages[@]}") ;;
  --run) wanted+=("${run_packages[@]}") ;;
  --test) wanted+=("${run_packages[@]}" "${test_packages[@]}") ;;
  --list) # one package a line, for images that are built ahead
    printf '%s\n' "${build_packages[@]}" "${run_packages[@]}" "${test_packages[@]}"
    exit 0
    ;;
  -h | --help) usage; exit 0 ;;
  *) usage >&2; exit 2 ;;
esac

missing_packages() {
  local installed
  # dpkg-query fails when it knows nothing of a name; that name is simply not in its answer.
  installed=$(dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null |
    sed -n 's/^installed //p' | sort -u) || true
  printf '%s\n' "$@" | sort -u | comm -23 - <(printf '%s\n' "$installed")
}

mapfile -t missing < <(missing_packages "${wanted[@]}")
if [[ ${#missing[@]} -eq 0 ]]; then
  exit 0
fi
echo "Missing packages: ${missing[*]}"

as_root=()
if [[ $(id -u) -ne 0 ]]; then
  if ! command -v sudo >/dev/null; then
    echo "Run this script as root, or install sudo." >&2
    exit 1
  fi
  as_root=(sudo)
fi

apt() {
  # Another package manager may be at work; wait for it rather than fail.
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -o DPkg::Lock::Timeout=540 -o Acquire::Retries=3 --quiet=2 "$@"
}

# A stale list is good enough when the mirror cannot be asked.
apt update || echo "The package lists could not be brought up to date; going on." >&2
apt install --yes --no-install-recommends "${missing[@]}"

mapfile -t missing < <(missing_packages "${wanted[@]}")
if [[ ${#missing[@]} -ne 0 ]]; then
  echo "Still missing: ${missing[*]}" >&2
  exit 1
fi
