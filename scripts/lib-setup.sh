# Sourced by the scripts: goes to the project's root, and installs Debian packages that are missing.
# shellcheck shell=bash
set -euo pipefail

export LC_ALL=C.UTF-8
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

build_packages=(g++ cmake ninja-build ccache libzstd-dev liblzma-dev nlohmann-json3-dev nettle-dev)
test_packages=(libgtest-dev libgmock-dev strace zsh fish mandoc)
# For the preset windows: the compiler, the system that runs its programs, and sources to build from.
windows_packages=(g++-mingw-w64-x86-64-posix wine64 dpkg-dev make m4 patch googletest)

fail() {
    echo "$*" >&2
    exit 1
}

# As root or through sudo; what apt says is shown only when it fails.
apt_quietly() {
    local output as_root=()
    [[ $(id -u) == 0 ]] || as_root=(sudo)
    output=$("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq "$@" 2>&1 </dev/null) || {
        echo "$output" >&2
        return 1
    }
}

# Installs what is missing of the given packages. Without apt the machine is taken as it is.
install_missing() {
    command -v apt-get >/dev/null || return 0
    local package missing=()
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    [[ $(id -u) == 0 ]] || command -v sudo >/dev/null ||
        fail "As root, please: apt-get install ${missing[*]}"
    echo "Installing ${missing[*]}"
    apt_quietly install -y --no-install-recommends "${missing[@]}" 2>/dev/null && return 0
    apt_quietly update || true
    apt_quietly install -y --no-install-recommends "${missing[@]}" ||
        fail "Could not install ${missing[*]}"
}

# write_log LOG: copies standard input there, and shows its last line once a minute, so that a person
# sees that the work goes on, and how far it is.
write_log() {
    local line next=$((SECONDS + 60))
    while IFS= read -r line; do
        printf '%s\n' "$line"
        ((SECONDS < next)) && continue
        next=$((SECONDS + 60))
        printf '  %s\n' "${line:0:110}" >&2
    done >"$1"
}

# build_preset PRESET [TARGET...]: configures and builds, and shows the log only when that fails.
build_preset() {
    local preset=$1 log=build/$1/build.log
    shift
    mkdir -p "build/$preset"
    echo "Building ($preset); the log is $log"
    if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}; } \
        2>&1 </dev/null | write_log "$log"; then
        tail -n 60 "$log" >&2
        fail "The build failed; all of its log is in $log"
    fi
}
