# Sourced by the commands in this folder: bare Debian systems in folders, isolated from the system around them.
# shellcheck shell=sh

# The name under which a release is downloaded.
codename_of() {
  case $1 in
    12) echo bookworm ;;
    13) echo trixie ;;
    *) echo "there is no Debian release $1 here; there are 12 and 13" >&2; return 2 ;;
  esac
}

require_root_for_roots() {
  [ "$(id -u)" = 0 ] || { echo "$1: only root can make and enter bare roots; call it with sudo" >&2; exit 1; }
  for program in debootstrap unshare chroot; do
    command -v $program >/dev/null || { echo "$1: $program is missing; scripts/setup nightly installs it" >&2; exit 1; }
  done
}

#   make_bare_root CODENAME FOLDER
make_bare_root() {
  debootstrap --variant=minbase --include=git "$1" "$2" || { cat "$2/debootstrap/debootstrap.log"; return 1; }
  echo newcomer >"$2/etc/hostname"
  printf '127.0.0.1 localhost newcomer\n::1 localhost\n' >"$2/etc/hosts"
}

#   add_user_with_sudo ROOT NAME
add_user_with_sudo() {
  in_root "$1" root "apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq sudo &&
    useradd --create-home --shell /bin/bash $2 && echo '$2 ALL=(ALL) NOPASSWD: ALL' >/etc/sudoers.d/$2"
}

home_of() { if [ "$1" = root ]; then echo /root; else echo "/home/$1"; fi; }

# Runs a shell command in a root as one of its users, with a login environment and its own processes and devices.
# Everything that it mounts or starts is gone when it ends.
#   in_root ROOT USER COMMAND
in_root() {
  unshare --mount --pid --fork --kill-child --ipc --uts sh -c '
    set -eu
    hostname newcomer
    mount -t proc proc "$1/proc"
    mount -t tmpfs -o mode=755 tmpfs "$1/dev"
    for device in null zero full random urandom tty; do
      : >"$1/dev/$device"
      mount --bind "/dev/$device" "$1/dev/$device"
    done
    mkdir "$1/dev/pts" "$1/dev/shm"
    mount -t devpts -o newinstance,ptmxmode=666,mode=620 devpts "$1/dev/pts"
    mount -t tmpfs -o mode=1777 tmpfs "$1/dev/shm"
    ln -s pts/ptmx "$1/dev/ptmx"
    ln -s /proc/self/fd "$1/dev/fd"
    for stream in 0:stdin 1:stdout 2:stderr; do ln -s "/proc/self/fd/${stream%:*}" "$1/dev/${stream#*:}"; done
    exec env -i LANG=C PATH=/usr/sbin:/usr/bin:/sbin:/bin chroot "$1" su --login "$2" -c "export LANG=C; $3"' sh "$1" "$2" "$3"
}

# Removes roots, unless something is still mounted in one: removing would also delete the mounted files.
remove_roots() {
  for root; do
    if grep -q " $root/" /proc/mounts; then
      echo "$root is still in use and stays" >&2
    else
      rm -rf --one-file-system "$root"
    fi
  done
}
