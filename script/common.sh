# Shared by the scripts beside it; not a command of its own. Goes to the project's folder, and says what goes on.
set -eu
cd "$(dirname "$0")/.."
jobs=$(nproc)

say() { printf '== %s\n' "$*" >&2; }

# help TEXT ARGS...: prints the text and ends when the first argument asks for help.
help() {
    case "${2:-}" in
        -h|--help) printf '%s\n' "$1"; exit 0 ;;
    esac
}

# takes WORD... -- ARGS...: ends when an argument is none of the words that the script knows.
takes() {
    known=" "
    while [ "$1" != "--" ]; do known="$known$1 "; shift; done
    shift
    for word in "$@"; do
        case "$known" in
            *" $word "*) ;;
            *) echo "$0 does not know \"$word\"; see $0 --help" >&2; exit 2 ;;
        esac
    done
}

# number NAME VALUE [HIGHEST]: prints VALUE; ends when it is no whole number from 1 to HIGHEST.
number() {
    highest=${3:-999999999}
    case $2 in
        ""|0*|*[!0-9]*|??????????*) ;;
        *) [ "$2" -gt "$highest" ] || { echo "$2"; return; } ;;
    esac
    echo "$0: $1 is a whole number from 1 to $highest, not \"$2\"; see $0 --help" >&2
    exit 2
}

# need PACKAGE...: installs what is missing of Debian's packages.
need() {
    missing=""
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    sudo=""
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || { echo "These packages are missing:$missing. Install them as root, or install sudo." >&2; exit 1; }
        sudo=sudo
    fi
    say "installing$missing"
    export DEBIAN_FRONTEND=noninteractive
    # shellcheck disable=SC2086
    $sudo apt-get install -y -qq $missing >/dev/null 2>&1 ||
        { $sudo apt-get update -qq && $sudo apt-get install -y -qq $missing >/dev/null; } ||
        { echo "Installing$missing failed. Is this Debian 12, and are its package servers reachable?" >&2; exit 1; }
}

need_build_tools() {
    need g++ cmake ninja-build libgtest-dev libcli11-dev nlohmann-json3-dev libtomlplusplus-dev libncurses-dev
}

# build PRESET [TARGET...]: configures once, builds with all cores. Output only where something is done.
build() {
    preset=$1; shift
    [ -f "build/$preset/build.ninja" ] || { say "configuring build/$preset"; cmake --preset "$preset" >/dev/null; }
    # shellcheck disable=SC2086
    NINJA_STATUS="[%f/%t] " cmake --build --preset "$preset" ${1:+--target "$@"} -- -j "$jobs" >&2
}
