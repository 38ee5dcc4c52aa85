#!/bin/bash
# Runs in a private systemd on a bare machine: installs the packages of a folder, runs what debian/tests/control lists,
# purges them and compares the machine with what it was. Usage: use_packages.sh FOLDER, in the source's folder.
set -euo pipefail
export LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive

# Every file but those in which apt and dpkg keep their own history, and what runs meanwhile keeps.
machine() {
    find / \( -path /proc -o -path /sys -o -path /dev -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/cache \
        -o -path /var/log/apt -o -path /var/log/journal -o -path /run/log -o -path /run/systemd -o -path /run/user \
        -o -path /run/dbus -o -path /run/mount -o -path /tmp -o -path /var/tmp -o -path /var/lib/systemd -o -path /root/vesksystemd \) -prune -o \
        ! -path /etc/ld.so.cache ! -path '/var/log/dpkg.log' ! -path /var/log/alternatives.log \
        ! -path /var/log/lastlog -printf '%p %y %m %u %g %l\n' | sort
}

# The ground has folders of the platform's ready; a machine that never had the platform has not.
rm -rf /usr/vesk /var/log/vesk
machine >/tmp/before

apt-get install --yes --no-install-recommends "$1"/*.deb
mapfile -t packages < <(for package in "$1"/*.deb; do dpkg-deb --field "$package" Package; done)

failures=()
while read -r -a tests; do
    for name in "${tests[@]:1}"; do
        AUTOPKGTEST_TMP=$(mktemp -d)
        export AUTOPKGTEST_TMP
        printf '== %s\n' "$name"
        "debian/tests/$name" </dev/null || failures+=("$name")
        rm -rf "$AUTOPKGTEST_TMP"
    done
done < <(grep '^Tests:' debian/tests/control)

# What the tests have put there themselves.
systemctl stop first second user daemon inside.slice 2>/dev/null || true
rm -rf /etc/systemd/system/{first,second,broken,slow,user,daemon}.service /etc/systemd/system/{inside.slice,quiet.target} /volume9 \
    /run/example-again /run/example-entered
systemctl daemon-reload

apt-get purge --yes "${packages[@]}"
diff /tmp/before <(machine) || failures+=("purged without a trace")
if ((${#failures[@]})); then
    printf 'FAILED: %s\n' "${failures[@]}"
    exit 1
fi
printf 'installed, used and purged: %s\n' "${packages[*]}"
