# Fresh Debian roots to test in, for scripts/test-*; sourced, not run. Needs root.
# shellcheck shell=bash disable=SC2016  # apt and the shell inside the root expand what is quoted
# shellcheck source=lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

release=bookworm

archive_down() {
    echo "NOT TESTED: the Debian archive at $1 does not answer" >&2
    exit 75
}

# The release's main archive only: the i386 index of the security archive is not always up to date.
# apt does not know the origin of an archive before it has an index from it.
archive() {
    local about='$(RELEASE) $(COMPONENT) $(REPO_URI)'
    {
        apt-get indextargets --format "$about \$(ORIGIN)" 'Created-By: Packages'
        apt-get indextargets --no-release-info --format "$about Debian" 'Created-By: Packages'
    } | awk -v release="$release" \
        '$1 == release && $2 == "main" && $4 == "Debian" && !found++ { print $3 }'
}

# Mounts exist as long as the namespace in which they are made.
isolated() {
    unshare --mount --pid --fork --kill-child "$@"
}

# debian_root ROOT ARCHITECTURE PACKAGES: makes a root with these packages, separated by commas, in
# ROOT, unless it exists. Exits with 75 if it does not exist and the archive does not answer.
debian_root() {
    # Created first, it marks the root as made by this script; once all packages are installed, it
    # lists them.
    local root=$1 arch=$2 packages=$3 marker=$1/.$2-root uri answer log
    ((EUID == 0)) || fail "only root can make and enter a Debian root"
    "$source_dir/scripts/install-packages" root
    mkdir -p "$source_dir/build"
    [[ $(cat "$marker" 2>/dev/null) != "$packages" ]] || return 0

    uri=$(archive)
    [[ -n $uri ]] || fail "apt has no main archive of Debian $release configured"
    if ! answer=$(wget -nv -O /dev/null --timeout 20 --tries 2 \
        "${uri%/}/dists/$release/InRelease" 2>&1); then
        [[ $answer != *'ERROR 4'* ]] || fail "$uri is no archive of Debian $release"
        archive_down "$uri"
    fi

    [[ ! -e $root || -e $marker ]] || fail "$root exists and was not made by this script"
    echo "Making a Debian $arch root in $root ..."
    rm -rf --one-file-system "$root"
    mkdir -p "$root"
    touch "$marker"
    log=$source_dir/build/$arch-root.log
    # The processors of the machine run i386 programs; there is nothing to emulate.
    if ! isolated mmdebstrap --architectures="$arch" --variant=minbase --components=main \
        --skip=check/empty,check/qemu ${packages:+--include="$packages"} \
        "$release" "$root" "$uri" >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        if grep -qE '^E: (Failed to fetch|Unable to fetch)' "$log"; then archive_down "$uri"; fi
        fail "mmdebstrap failed; its log is $log"
    fi
    echo "$packages" >"$marker"
}

# in_root ROOT SCRIPT [PERSONALITY]: runs SCRIPT as a machine that consists of the root alone.
in_root() {
    isolated sh -ec 'mount -t proc proc "$1/proc"
        exec $3 chroot "$1" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
            LC_ALL=C.UTF-8 bash -euo pipefail -c "$2"' sh "$1" "$2" "${3-}"
}
