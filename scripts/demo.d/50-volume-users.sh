# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

act "Which services use a volume"
mkdir /volume1
mount -t tmpfs volume1 /volume1
tell "A volume is mounted on /volume1. One service works in a folder of it, another writes to a file of it:"
unit photos.service <<'END'
[Service]
Type=exec
WorkingDirectory=/volume1
ExecStart=/bin/sleep infinity
END
unit films.service <<'END'
[Service]
Type=exec
StandardOutput=append:/volume1/films.log
ExecStart=/bin/sleep infinity
END
expect 0 "started: photos" start_unit photos
expect 0 "started: films" start_unit films
skip_log
tell "The library looks at what every process of the system has open and knows whose process it is. The media" \
    "server, which is running too, has nothing on the volume:"
expect 0 "uses /volume1: films.service
uses /volume1: photos.service" sh -c 'unmount_volume users /volume1 | sort'
tell "The log has the file that gave each of them away:"
expect_log <<'END'
systemd_service_list_by_mount_path.cpp:N vesksystemd: file used: [/volume1]
systemd_service_list_by_mount_path.cpp:N vesksystemd: file used: [/volume1/films.log]
END
