# shellcheck shell=bash
. "$(dirname "$0")/../lib/demo.sh"

# What the library logs of an unmount.
steps=$(
    cat <<'END'
systemd_service_list_by_mount_path.cpp:N vesksystemd: file used: [/volume1]
systemd_service_list_by_mount_path.cpp:N vesksystemd: file used: [/volume1/films.log]
systemd_daemon-reload.cpp:N vesksystemd: start daemon reload
systemd_systemctl.cpp:N vesksystemd: Execute time for [/usr/bin/systemctl daemon-reload] is N ms
systemd_daemon-reload.cpp:N vesksystemd: daemon reload success!
systemd_volume_unmount_action.cpp:N vesksystemd: the following service will temporarily stop for volume unmounting: [/volume1][films.service, index.service, photos.service]
systemd_start.cpp:N vesksystemd: [unmount-volume-begin.target] starting ...
systemd_start.cpp:N vesksystemd: [unmount-volume-begin.target] started.
systemd_start.cpp:N vesksystemd: [unmount-volume-end.target] starting ...
systemd_start.cpp:N vesksystemd: [unmount-volume-end.target] started.
END
)

act "Unmounting a volume that is in use"
tell "One more service uses the volume only now and then. Its unit file says so, since nobody could see it:"
unit index.service <<'END'
[Service]
Type=exec
ExecStart=/bin/sleep infinity

[X-Veskline]
Name=Picture Index
VolumeDependency=all
END
expect 0 "started: index (Picture Index)" start_unit index
skip_log
tell "By itself the volume cannot be unmounted:"
expect 32 "umount: /volume1: target is busy." umount /volume1
tell "With the library it can. It stops the services that use the volume, runs the command, here one that shows" \
    "their states and unmounts, and starts the services again:"
# shellcheck disable=SC2016 # expanded by the shell that the library's action runs
expect 0 "photos.service inactive
films.service inactive
index.service inactive
media.service active
done" unmount_volume run /volume1 'for unit in photos films index media; do
    echo $unit.service $(systemctl is-active $unit); done; umount /volume1'
tell "The volume is gone, and all four services are up:"
expect 1 "" grep /volume1 /proc/self/mounts
expect 0 "active
active
active
active" systemctl is-active photos films index media
tell "This is what the library did, step by step: it looked for the services that use the volume, wrote two targets" \
    "and let systemd read them. Starting the first stopped the services, since it conflicts with them; then the" \
    "command ran; starting the second, which wants them, brought them back:"
expect_log <<<"$steps"
skip_log
tell "The services come back as well when the command fails. The volume is mounted once more, and they use it again:"
mount -t tmpfs volume1 /volume1
# One after the other: the library looks at the processes by their ids.
systemctl restart photos
systemctl restart films
# shellcheck disable=SC2016 # expanded by the shell that the library's action runs
expect 1 "photos.service inactive
media.service active
failed" unmount_volume run /volume1 'for unit in photos media; do
    echo $unit.service $(systemctl is-active $unit); done; exit 1'
expect 0 "active
active
active
active" systemctl is-active photos films index media
tell "The log has the same steps; only these are in it, so no other service was touched:"
expect_log <<<"$steps"
