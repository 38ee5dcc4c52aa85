# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

act "The same at a shell"
tell "veskctl is the library in the hands of those who run the system. A service that is held says so, and for what:"
expect 0 "media: stopped; held for: backup" veskctl reason stop backup media
expect 1 "veskctl: media: held stopped for: backup; 'veskctl reason start backup media' ends a reason, --force starts \
it all the same" veskctl start media
expect 0 "UNIT           NAME          LOAD    ACTIVE    SUB   ENABLED  HELD FOR  JOB  WHY
media.service  Media Server  loaded  inactive  dead  static   backup    -    -" veskctl status media
expect 0 "media: started" veskctl reason start backup media
tell "What it tells, it tells programs as well:"
expect 0 "[]" sh -c 'veskctl reason list --json'
tell "A volume is unmounted while those who use it are stopped. First it says who that is:"
unit music.service <<'END'
[Service]
Type=exec
ExecStart=/bin/sh -c "cd /volume1 && exec sleep infinity"
END
expect 0 "music: started" veskctl start music
for _ in {1..100}; do
    ! veskctl volume users /volume1 | grep -q 'sleep .*working folder' || break
    sleep 0.1
done
expect 0 "music.service sleep working folder yes" \
    sh -c "veskctl volume users /volume1 | awk '\$1 == \"music.service\" { print \$1, \$3, \$4, \$5, \$6 }'"
tell "Then it does it, and compares what runs afterwards with what ran before:"
expect 0 "" sh -c 'veskctl volume unmount /volume1 >/dev/null'
expect 32 "" mountpoint -q /volume1
expect 0 "active
active
active" systemctl is-active music photos films
