# Sourced by ./run and ./test: installs the Debian packages that are missing.
build_packages="ca-certificates g++ cmake ninja-build libicu-dev qt6-base-dev zlib1g-dev libpng-dev
  libcli11-dev nlohmann-json3-dev fonts-liberation fonts-wqy-microhei qt6-translations-l10n
  fonts-crosextra-carlito fonts-crosextra-caladea"
test_packages="libgtest-dev libbenchmark-dev clang-format xvfb xauth xdotool matchbox-window-manager poppler-utils
  x11-xkb-utils dbus ibus ibus-libpinyin at-spi2-core python3-pyatspi"

# ensure_packages NAME...: asks for the rights only when something is missing.
ensure_packages() {
  local missing=""
  for name in "$@"; do
    dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'install ok installed' || missing="$missing $name"
  done
  [ -z "$missing" ] && return 0
  local as_root=""
  if [ "$(id -u)" != 0 ]; then
    command -v sudo >/dev/null || { echo "Missing packages:$missing. Install them as root." >&2; return 1; }
    as_root=sudo
  fi
  echo "Installing:$missing"
  export DEBIAN_FRONTEND=noninteractive
  $as_root apt-get -qq update && $as_root apt-get -qq install -y --no-install-recommends $missing >/dev/null
}
