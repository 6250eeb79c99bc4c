#!/usr/bin/env bash
# packaging/clean-root.sh DEB: installs the package in a new minimal Debian and tries both programs there.
# Needs root and mmdebstrap. The root lies in a temporary folder, which goes at the end. BASE=FOLDER takes a copy of
# a minimal root that was made before.
set -euo pipefail
deb=$(realpath "${1:?which package?}")
suite=${SUITE:-bookworm} mirror=${MIRROR:-}
[ "$(id -u)" = 0 ] || { echo "This needs root." >&2; exit 1; }
command -v mmdebstrap >/dev/null || { echo "Missing package: mmdebstrap" >&2; exit 1; }

work=$(mktemp -d)
root=$work/root
trap 'umount -q "$root/proc" 2>/dev/null || true; rm -rf --one-file-system "$work"' EXIT
chmod 755 "$work"
step() { echo "== $* (${SECONDS} s)"; }
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive "$@"; }
used() { du -xsm "$root" | cut -f1; }

step "a minimal Debian"
if [ -n "${BASE:-}" ]; then cp -a "$BASE" "$root"
else mmdebstrap --quiet --variant=apt "$suite" "$root" ${mirror:+"$mirror"}
fi
cp -L /etc/resolv.conf "$root/etc/resolv.conf" 2>/dev/null || true
mount -t proc proc "$root/proc" 2>/dev/null || true
bare=$(used)

step "the package, with what it needs and nothing recommended"
cp "$deb" "$root/tmp/tallyman.deb"
inside apt-get -qq update
inside apt-get -qq install -y --no-install-recommends /tmp/tallyman.deb >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
inside rm -rf /var/cache/apt/archives
echo "bare $bare MB, with the package $(used) MB"

step "the command-line program"
inside sh -ec '
  cd /tmp
  tally --version
  printf "apple,3\r\npear,4\r\n" >list.csv
  tally convert list.csv list.xls
  tally cells list.xls | wc -l | grep -qx 4
  tally convert list.xls - --to csv | cmp - list.csv
  tally eval "=SUM(1,2,3)" | grep -q 6
  tally verify list.xls'

step "the desktop program without a display"
inside sh -ec 'tallyman --version; if tallyman 2>/tmp/said; then exit 1; fi; grep -q "no display" /tmp/said'

step "the desktop program on the offscreen platform"
inside sh -ec '
  cd /tmp
  QT_QPA_PLATFORM=offscreen tallyman list.csv & program=$!
  sleep 3
  kill -0 $program || { echo "it has ended by itself"; exit 1; }
  kill $program
  wait $program'

step "what a desktop needs: types, description, manuals, completion, fonts"
inside apt-get -qq install -y --no-install-recommends xvfb xauth xdotool matchbox-window-manager \
  desktop-file-utils shared-mime-info fonts-liberation fonts-wqy-microhei >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
inside sh -ec '
  desktop-file-validate /usr/share/applications/tallyman.desktop
  grep -q "^application/x-tallyman-pocket-workbook:\*.pxl$" /usr/share/mime/globs
  test -s /usr/share/icons/hicolor/48x48/apps/tallyman.png'

step "a journey in a window"
cat >"$root/tmp/journey.sh" <<'J'
set -e
cd /tmp
export TALLYMAN_LANGUAGE=en QT_QPA_PLATFORM=xcb
wait_for() {  # wait_for SECONDS COMMAND...
  tries=$(($1 * 10)); shift
  while ! "$@" >/dev/null 2>&1; do
    tries=$((tries - 1)); [ $tries -gt 0 ] || { echo "in vain: $*"; exit 1; }
    sleep 0.1
  done
}
titled() { [ "$(timeout 5 xdotool getwindowfocus getwindowname)" = "$1" ]; }
matchbox-window-manager -use_titlebar no & manager=$!
wait_for 20 timeout 5 xdotool get_num_desktops
tallyman list.csv & program=$!
wait_for 30 titled "Tallyman - list.csv"
xdotool key --delay 20 Down Down
xdotool type --delay 20 "=B1+B2"
xdotool key --delay 20 Return ctrl+s
wait_for 20 grep -q "^7," list.csv
kill $program
wait $program
kill $manager
J
inside sh -ec 'xvfb-run -a -s "-screen 0 1280x800x24" sh /tmp/journey.sh; cat /tmp/list.csv'

step "the package goes and leaves nothing"
inside apt-get -qq purge -y tallyman >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
! inside find / -xdev -path /proc -prune -o -name "*tallyman*" -not -path "/tmp/*" -print | grep -v "^/root/" || {
  echo "left behind" >&2; exit 1; }
step "all is well"
