#!/bin/sh
# Installs the Debian packages named as arguments that are not installed yet.
# Services the packages bring are not started: without this, installing
# apache2 would start the system's own Apache on port 80. A policy-rc.d that
# forbids starting services is put in place for the installation only, and
# only when the machine has none of its own.
set -eu
missing=""
for p in "$@"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing="$missing $p"
done
[ -n "$missing" ] || exit 0

sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
policy=/usr/sbin/policy-rc.d
ours=""
# Not handled: two runs at once. The second sees the first's policy-rc.d,
# leaves it alone, and may be installing when the first removes it (apt's
# lock only makes the second wait for the first's installation, not for its
# exit). Run one installation at a time.
if [ ! -e "$policy" ]; then
  ours=1
  trap '$sudo rm -f "$policy"' EXIT
  # dash runs no EXIT trap when a signal ends it: exiting on the signal does.
  trap 'exit 130' INT TERM HUP
  printf '#!/bin/sh\n# Put here by libqzapache scripts/apt-install.sh for one installation.\nexit 101\n' |
    $sudo tee "$policy" >/dev/null
  $sudo chmod 755 "$policy"
fi
$sudo apt-get -o DPkg::Lock::Timeout=300 update -q
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -q -o DPkg::Lock::Timeout=300 $missing
[ -z "$ours" ] || echo "(services of the new packages were not started)"
