#!/bin/sh
# Two client machines on one replicated file system: three servers and two mounts of it, all on the
# loopback address, on which `check_share.sh PROGRAM` runs PROGRAM MOUNT1 MOUNT2 SERVER, where SERVER
# is a server's process, to be killed. Ends with 77 where that can't be set up.
set -eu
program=$1

skip() { echo "Not tested here: $1." >&2; exit 77; }
command -v glusterfsd > /dev/null && command -v glusterfs > /dev/null ||
  skip 'glusterfs-server and glusterfs-client are not installed'
[ "$(id -u)" -eq 0 ] || skip 'mounting is for root'
[ -c /dev/fuse ] && : 2> /dev/null < /dev/fuse || skip 'there is no FUSE'

dir=$(mktemp -d)
servers=
take_down() {
  umount -l "$dir/m1" "$dir/m2" 2> /dev/null || true
  for server in $servers; do kill "$server" 2> /dev/null || true; done
  rm -rf "$dir"
}
trap take_down EXIT
trap 'exit 1' INT TERM

# One server for each copy. It takes a free port, and says in its log which one.
start_server() {
  mkdir -p "$dir/copy$1/.glusterfs"
  cat > "$dir/server$1" << END
volume files
  type storage/posix
  option directory $dir/copy$1
end-volume
volume locks
  type features/locks
  subvolumes files
end-volume
volume copy
  type features/index
  option index-base $dir/copy$1/.glusterfs/indices
  subvolumes locks
end-volume
volume server
  type protocol/server
  option transport-type tcp
  option transport.socket.bind-address 127.0.0.1
  option transport.socket.listen-port $2
  option auth.addr.copy.allow 127.0.0.1
  subvolumes copy
end-volume
END
  cat >> "$dir/client" << END
volume copy$1
  type protocol/client
  option transport-type tcp
  option remote-host 127.0.0.1
  option remote-port $2
  option remote-subvolume copy
end-volume
END
  glusterfsd -N -f "$dir/server$1" -l "$dir/log" > /dev/null 2>&1 &
  servers="$servers $!"
}

# Waits until a command works.
await() {
  for try in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
    "$@" > /dev/null 2>&1 && return
    sleep 0.3
  done
  return 1
}
answers() { python3 -c 'import socket, sys; socket.create_connection(("127.0.0.1", int(sys.argv[1])))' "$1"; }

ports=$(python3 -c '
import socket
all = [socket.create_server(("127.0.0.1", 0)) for _ in range(3)]
print(*[one.getsockname()[1] for one in all])')
copy=0
for port in $ports; do
  copy=$((copy + 1))
  start_server "$copy" "$port"
done
printf 'volume all\n  type cluster/replicate\n  option quorum-type auto\n' >> "$dir/client"
printf '  subvolumes copy1 copy2 copy3\nend-volume\n' >> "$dir/client"
for port in $ports; do await answers "$port" || skip 'a file server does not start'; done
for mount in m1 m2; do
  mkdir "$dir/$mount"
  glusterfs -f "$dir/client" -l "$dir/log" "$dir/$mount" 2> /dev/null || skip 'mounting is not allowed'
done
# Not before all three answer each mount: it would go on without a copy, which would then come back
# in the middle of a change.
makes_copies() {
  mkdir "$dir/$1/$1" || return 1
  for copy in 1 2 3; do
    [ -d "$dir/copy$copy/$1" ] || { rmdir "$dir/$1/$1"; return 1; }
  done
}
for mount in m1 m2; do
  await makes_copies "$mount" || skip 'the file system does not answer'
done

"$program" "$dir/m1" "$dir/m2" "${servers##* }"
