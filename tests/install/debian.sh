# shellcheck shell=bash
# A Debian 12 in a folder of its own, for the checks that need one (as root; packages come over the network).

# fresh_debian ROOT: makes one there; what was there before is gone.
fresh_debian() {
  [ "$(id -u)" -eq 0 ] || die "root makes and enters a system of its own: run this as root"
  rm -rf --one-file-system "$1"
  mkdir -p "$1"
  say "Making a Debian 12 in ${1#"$PWD/"}"
  debootstrap --variant=minbase bookworm "$1" >"$1.log" || { tail -n 20 "$1.log"; exit 1; }
}

# inside ROOT SCRIPT [NAME=VALUE...]: runs a bash script of that system, with these variables and no others.
# Mounts and processes are its own, too: both end with it. CACHE=FOLDER lends it a compiler cache.
inside() {
  local root=$1 script=$2
  shift 2
  [ -z "${CACHE:-}" ] || mkdir -p "$root/cache"
  # shellcheck disable=SC2016
  CACHE=${CACHE:-} unshare --mount --pid --fork --kill-child bash -c '
    root=$1 script=$2
    shift 2
    mount -t proc proc "$root/proc" && mount --rbind /dev "$root/dev" &&
    { [ -z "$CACHE" ] || mount --bind "$CACHE" "$root/cache"; } &&
    exec chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM=dumb \
      ${CACHE:+CCACHE_DIR=/cache} "$@" bash "$script"' inside "$root" "$script" "$@" </dev/null
}
