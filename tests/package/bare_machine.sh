#!/bin/bash
# Where a bare machine's packages come from: from the machine's own sources, in whichever form they are written, and
# only from those that are Debian's. Wants SOURCE and WORK in its environment.
set -u
. "$SOURCE/scripts/lib/common.sh"
. "$SOURCE/scripts/lib/debian_mirror.sh"

failures=0
mkdir -p "$WORK/parts" "$WORK/lists/partial" "$WORK/cache/archives/partial"
cat >"$WORK/apt.conf" <<END
Dir::Etc::sourcelist "$WORK/sources.list";
Dir::Etc::sourceparts "$WORK/parts";
Dir::State::lists "$WORK/lists";
Dir::Cache "$WORK/cache";
END
export APT_CONFIG=$WORK/apt.conf

# fetched PLACE SUITE ORIGIN LABEL : what apt has of a source once it has asked there.
fetched() {
    local name=$WORK/lists/${1//\//_}_dists_$2
    printf '%s\n' "Origin: $3" "Label: $4" "Suite: $2" "Codename: $2" "Components: main contrib" SHA256: \
        " $(printf '0%.0s' {1..64}) 0 main/binary-$(dpkg --print-architecture)/Packages" >"${name}_Release"
    : >"${name}_main_binary-$(dpkg --print-architecture)_Packages"
}

expect() { # LABEL PLACE
    local place status=0 expected=0
    place=$(debian_place "$1") || status=$?
    [[ $2 ]] || expected=1
    if [[ $place != "$2" || $status != "$expected" ]]; then
        printf '%s: status %s and "%s", not "%s"\n' "$1" "$status" "$place" "$2"
        failures=1
    fi
}

sources() { # clears what was there
    rm -rf "$WORK"/parts/* "$WORK"/lists/*_*
    cat >"$WORK/sources.list"
}

sources </dev/null
expect Debian ""

sources <<'END'
# deb http://off.example/debian bookworm main
deb [arch=amd64,arm64 signed-by=/usr/share/keyrings/other.gpg] http://other.example/apt bookworm main
deb-src http://source.example/debian bookworm main
deb cdrom:[Debian]/ bookworm main
deb file:/srv/debian bookworm main
deb [trusted=no] https://mirror.example/debian bookworm main contrib
deb http://second.example/debian bookworm main
deb http://security.example/debian-security bookworm-security main
END
expect Debian ""
fetched other.example/apt bookworm Other Other
expect Debian ""
fetched second.example/debian bookworm Debian Debian
fetched mirror.example/debian bookworm Debian Debian
fetched security.example/debian-security bookworm-security Debian Debian-Security
expect Debian https://mirror.example/debian/
expect Debian-Security http://security.example/debian-security/

sources </dev/null
cat >"$WORK/parts/debian.sources" <<'END'
Enabled: no
Types: deb
URIs: http://off.example/debian
Suites: bookworm
Components: main

# The machine's own.
Types: deb deb-src
URIs: http://mirror.example/debian
 http://second.example/debian
Suites: bookworm bookworm-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
END
for place in off second mirror; do
    fetched "$place.example/debian" bookworm Debian Debian
done
expect Debian http://mirror.example/debian/
expect Debian-Security ""

# What is said before anything is made.
refused() { # MESSAGE ARGUMENT...
    local message=$1 output
    shift
    output=$("$SOURCE/scripts/bare-machine" "$@" 2>&1 </dev/null) && failures=1
    if [[ $output != *"$message"* ]]; then
        printf 'bare-machine %s: %s\n' "$*" "$output"
        failures=1
    fi
}
refused "usage: bare-machine" "$WORK/bare"
refused "usage: bare-machine" --wrong x "$WORK/bare" true
refused "the release is 'buzz'" --release buzz "$WORK/bare" true
if ((EUID == 0)); then
    mkdir -p "$WORK/bare/home"
    refused "is no bare machine, or one that was left half made" "$WORK/bare" true
    mkdir -p "$WORK/trixie/etc"
    echo trixie >"$WORK/trixie/etc/bare-machine"
    refused "has trixie, not bookworm" "$WORK/trixie" true
else
    refused "only root" "$WORK/bare" true
fi
exit $failures
