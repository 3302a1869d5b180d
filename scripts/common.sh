# Shell functions that the scripts here share; to be sourced.
# shellcheck shell=bash

tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# shellcheck disable=SC2034 # for the scripts that source this file
build_packages=(build-essential cmake ninja-build pkg-config libgtk-3-dev libtinyxml2-dev
    libx11-dev)
# shellcheck disable=SC2034
display_packages=(xvfb openbox x11-utils xdotool imagemagick dbus at-spi2-core bubblewrap
    adwaita-icon-theme fonts-dejavu-core)

# Where gettext, the C library's locales and fonts for every language come from.
# shellcheck disable=SC2034
language_packages=(gettext locales fonts-noto-cjk)

say() { printf '%s\n' "$*"; }

# ---- Arguments ----------------------------------------------------------------------------------
# Each script goes through its arguments in one loop over `case $1`, ends with `--help) show_help ;;`
# and `*) wrong_usage "$1" ;;`, and does nothing before. Its head comment is its help.

help_text() { sed -n '2,/^[^#]/ s/^# \{0,1\}//p' "$0"; }
show_help() { help_text; exit 0; }
# wrong_usage ARGUMENT: for one that the script does not know, or that lacks its value.
wrong_usage() {
    {
        say "$(basename "$0"): wrong argument: $1"
        say "usage:"
        help_text | grep '^  scripts/'
    } >&2
    exit 2
}
# need_value OPTION VALUE...: what follows an option on the command line holds its value.
need_value() { [ $# -ge 2 ] || wrong_usage "$1"; }

# ---- Packages, builds ---------------------------------------------------------------------------

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

# build_directory PRESET: where a preset of CMakePresets.json is built.
build_directory() {
    case $1 in
    release | test) say "$tree/build" ;;
    *) say "$tree/build-$1" ;;
    esac
}

# build PRESET [CMAKE-OPTION]...: configures and compiles as a preset of CMakePresets.json says.
build() {
    local preset=$1 log
    shift
    log=$(build_directory "$preset")/build.log
    say "Building in $(dirname "$log")"
    mkdir -p "$(dirname "$log")"
    (cd "$tree" && cmake --preset "$preset" "$@" && cmake --build --preset "$preset") \
        >"$log" 2>&1 || {
        cat "$log"
        say "The build failed."
        return 1
    }
}

# ---- Languages ----------------------------------------------------------------------------------

languages() { grep -v '^#' "$tree/po/LINGUAS"; }

# locale_of LANGUAGE: a locale in which people read it.
locale_of() {
    case $1 in
    *_*) echo "$1" ;;
    ar) echo ar_EG ;;
    ja) echo ja_JP ;;
    *) echo "$1_${1^^}" ;;
    esac
}

# prepare_language LANGUAGE: what the language needs at run time, in build/languages/LANGUAGE, on a
# machine that has no such locale and no translation installed: a compiled locale, and what the
# machine has in the system's directory of translations for this language with ours beside it.
prepare_language() {
    local language=$1 place=$tree/build/languages/$1 locale share
    [ -e "$tree/po/$language.po" ] || {
        say "There is no translation into \"$language\". There are: $(languages)"
        return 1
    }
    locale=$(locale_of "$language")
    rm -rf "$place"
    mkdir -p "$place/locales" "$place/share/$language/LC_MESSAGES"
    localedef --no-archive -i "$locale" -f UTF-8 "$place/locales/$locale.UTF-8" || return 1
    for share in "${language%_*}" "$language"; do
        [ ! -d "/usr/share/locale/$share" ] || cp -rL "/usr/share/locale/$share" "$place/share/"
    done
    # Minimal systems leave out the translations of their packages; GTK's own tells it which way
    # the language is written.
    [ -e "$place/share/$language/LC_MESSAGES/gtk30.mo" ] || (
        cd "$place" && apt-get download -qq libgtk-3-common >/dev/null 2>&1 &&
            dpkg-deb --fsys-tarfile ./libgtk-3-common_*.deb |
            tar -x --strip-components=4 -C share "./usr/share/locale/$language"
    ) || say "GTK's own texts in this language are not to be had: nothing is mirrored."
    cp "$tree/build/po/locale/$language/LC_MESSAGES/messages.mo" \
        "$place/share/$language/LC_MESSAGES/"
}

# in_language LANGUAGE COMMAND...: runs a command in a language that was prepared. Without a
# language: as the machine is.
in_language() {
    local language=$1 place=$tree/build/languages/$1 locale
    shift
    [ -n "$language" ] || exec "$@"
    locale=$(locale_of "$language").UTF-8
    # The program asks for its texts where the C library has those of all programs, and nowhere else.
    exec bwrap --die-with-parent --dev-bind / / --ro-bind "$place/share" /usr/share/locale \
        --setenv LOCPATH "$place/locales" --setenv LC_ALL "$locale" --setenv LANG "$locale" \
        --unsetenv LANGUAGE "$@"
}
