# Shell functions that the scripts here share; to be sourced.
# shellcheck shell=bash

tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# shellcheck disable=SC2034 # for the scripts that source this file
build_packages=(build-essential cmake ninja-build pkg-config libgtk-3-dev libtinyxml2-dev
    libx11-dev)
# shellcheck disable=SC2034
display_packages=(xvfb openbox x11-utils xdotool imagemagick dbus at-spi2-core bubblewrap
    adwaita-icon-theme fonts-dejavu-core)

say() { printf '%s\n' "$*"; }

# need_packages PACKAGE...: installs those of them that are missing.
need_packages() {
    local package missing=()
    for package in "$@"; do
        dpkg-query --show --showformat='${db:Status-Status}\n' "$package" 2>/dev/null |
            grep -qx installed || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    say "Installing Debian packages: ${missing[*]}"
    local root=()
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || {
            say "These packages are missing, and there is no sudo to install them. As root, run:"
            say "  apt-get install ${missing[*]}"
            return 1
        }
        root=(sudo)
    fi
    "${root[@]}" apt-get update -qq
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build DIRECTORY [CMAKE-OPTION]...: configures and compiles.
build() {
    local directory=$1
    shift
    say "Building in $directory"
    local log=$directory/build.log
    mkdir -p "$directory"
    { cmake -S "$tree" -B "$directory" -G Ninja "$@" && cmake --build "$directory"; } \
        >"$log" 2>&1 || {
        cat "$log"
        say "The build failed."
        return 1
    }
}
