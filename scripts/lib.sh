# Shared functions of the commands; sourced, not run.
# shellcheck shell=bash

# The agent is in /usr/sbin, which is not on every user's path.
PATH=$PATH:/usr/sbin:/sbin
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# Where scripts/chmsnmp-base-mibs puts the base modules of the MIB files.
# shellcheck disable=SC2034
base_mibs=$source_dir/build/mibs

# Options of the SNMP tools for the lab's SNMPv3 user with all rights.
lab_authentication=lab-authentication lab_encryption=lab-encryption
# shellcheck disable=SC2034
operator=(-v3 -l authPriv -u operator -a SHA -A "$lab_authentication" -x AES -X "$lab_encryption")

# user_lines: the lab's users, for an agent's configuration. Users with read access do not see the
# terminal message, which is .2.9 of an enterprise.
user_lines() {
    cat <<END
view monitored included .1
view monitored excluded .1.3.6.1.4.1.0.2.9 fd.80
createUser guest
createUser monitor SHA $lab_authentication
createUser operator SHA $lab_authentication AES $lab_encryption
rouser guest noauth -V monitored
rouser monitor auth -V monitored
rwuser operator priv
END
}

# wrong_value NAME SERIAL LOAD PORT...: prints the first one that no switch can have, if any. Empty
# values are the defaults; an engine ID has room for no longer name.
wrong_value() {
    local LC_ALL=C name=$1 serial=$2 load=$3 port
    for port in "${@:4}"; do
        if [[ ! $port =~ ^[1-9][0-9]{0,4}$ ]] || ((port > 65535)); then
            echo "${port//[[:cntrl:]]/?} is not a UDP port" && return
        fi
    done
    if [[ -n $name && ! $name =~ ^[[:alnum:]._-]{1,27}$ ]]; then
        echo "${name//[[:cntrl:]]/?} is not a name of 1 to 27 letters, digits, dots, dashes and" \
            "underscores"
    elif ((${#serial} > 27)) || [[ $serial == *[[:cntrl:]]* ]]; then
        echo "${serial//[[:cntrl:]]/?} is not a serial number of 1 to 27 bytes without control" \
            "characters"
    elif [[ -n $load && ! $load =~ ^([0-9]{1,2}|100)$ ]]; then
        echo "${load//[[:cntrl:]]/?} is not a load of 0 to 100 percent"
    fi
}

# fail TEXT [STATUS]: prints one line on standard error and exits.
fail() {
    printf '%s: %s\n' "$(basename "$0")" "$1" >&2
    exit "${2:-1}"
}

# quietly COMMAND...: its output is shown only when it fails.
quietly() {
    local output
    output=$("$@" 2>&1) || {
        printf '%s\n' "$output" >&2
        return 1
    }
}

# packages_of GROUP...: the packages of these groups, one per line.
packages_of() {
    local group
    for group; do
        awk -v group="$group" '$1 == group { print $2 }' "$source_dir/scripts/packages"
    done
}

# build PRESET: builds in build/PRESET, after whoever else builds there. A terminal shows how far it
# is.
build() (
    cd "$source_dir" || exit
    mkdir -p build
    exec {lock}>"build/$1.lock"
    flock -n "$lock" || {
        echo "Waiting for another build ($1) ..."
        flock "$lock"
    }
    quietly cmake --preset "$1" || fail "cannot configure the $1 build"
    # Its own rule would start by checking for new files, which the line above did, and end a dry run.
    [[ $(cd "build/$1" && ninja -nf <(sed '/^build build.ninja/,/^$/d' build.ninja)) != \
        *'no work to do.' ]] || exit 0
    echo "Building ($1) ..."
    if [[ -t 1 ]]; then
        cmake --build --preset "$1" || fail "cannot build $1"
    else
        quietly cmake --build --preset "$1" || fail "cannot build $1"
    fi
)
