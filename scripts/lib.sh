# Shared by the scripts beside it: what a fresh Debian machine needs, and how it gets it.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# The comment at the top of the script that runs.
usage() { sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; }
help_if_asked() {
    local word
    for word in "$@"; do
        [ "$word" != --help ] || { usage; exit 0; }
    done
}
refuse() { # what is wrong with the command line
    echo "${0##*/}: $*" >&2
    usage >&2
    exit 2
}

packages_to_build="cmake ninja-build g++ pkg-config gettext libgtk2.0-dev libnotify-dev libxml2-dev \
libavahi-client-dev libavahi-glib-dev librsvg2-bin imagemagick"
packages_to_show="xvfb xauth x11-utils imagemagick fonts-dejavu-core dbus procps"
packages_to_show_all_languages="fonts-noto-cjk"
packages_to_test="$packages_to_show $packages_to_show_all_languages libgtest-dev libgmock-dev python3 python3-gi gir1.2-atspi-2.0 at-spi2-core \
libatk-adaptor libgail-common gir1.2-gtk-3.0 xdotool openbox wmctrl xclip util-linux openssh-client openssh-server rsync dbus avahi-daemon iproute2 openssl"

# Installs what of the named packages is missing; without the right to, names the one command and ends.
need_packages() {
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$name" 2>/dev/null | grep -q '^installed$' || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local as=()
    if [ "$(id -u)" -ne 0 ]; then
        if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
            as=(sudo)
        else
            printf 'Some packages are missing. Install them with:\n  sudo apt-get install --no-install-recommends %s\n' \
                "${missing[*]}" >&2
            exit 3
        fi
    fi
    echo "Installing ${missing[*]}" >&2
    "${as[@]}" apt-get update -qq >&2
    "${as[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

build_preset() {
    (cd "$root" && cmake --preset "$1" ${2:+"$2"} >/dev/null && cmake --build --preset "$1" -- -k 0 --quiet)
}

# Runs a command on an X server, a session bus and an accessibility bus of its own. The latter's socket is named
# after the display alone: without a runtime folder of its own a second run would take it away.
on_own_desktop() {
    local runtime status=0
    runtime=$(mktemp -d)
    XDG_RUNTIME_DIR=$runtime xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp -noreset -r" dbus-run-session -- \
        "$@" || status=$?
    rm -rf "$runtime"
    return "$status"
}

# Waits until a command succeeds; fails after the given number of seconds.
wait_until() {
    local limit=$1 start=$SECONDS
    shift
    until "$@" >/dev/null 2>&1; do
        [ $((SECONDS - start)) -lt "$limit" ] || return 1
        sleep 0.1
    done
}
