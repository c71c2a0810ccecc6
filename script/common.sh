# Included by the other scripts; not a command. Changes to the project's folder, and defines how scripts report
# progress.
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

# takes WORD... -- ARGS...: ends the script when an argument is not one of the words.
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

# number NAME VALUE [HIGHEST]: prints VALUE; ends the script unless it is a whole number from 1 to HIGHEST.
number() {
    highest=${3:-999999999}
    case $2 in
        ""|0*|*[!0-9]*|??????????*) ;;
        *) [ "$2" -gt "$highest" ] || { echo "$2"; return; } ;;
    esac
    echo "$0: $1 is a whole number from 1 to $highest, not \"$2\"; see $0 --help" >&2
    exit 2
}

# counted TOTAL WHAT PREFIX COMMAND...: runs the command and counts the lines of its output that begin with the prefix.
# Reports each line on a terminal, otherwise every tenth part. Fails when the command fails.
counted() {
    total=$1; what=$2; prefix=$3; shift 3
    failure=$(mktemp)
    { "$@" || echo failed >"$failure"; } | {
        seen=0
        while read -r line; do
            case $line in "$prefix"*) seen=$((seen + 1)) ;; *) continue ;; esac
            if [ -t 2 ]; then printf '\r\033[K[%d/%d] %s' "$seen" "$total" "$what" >&2
            elif [ $((seen * 10 / total)) != $(((seen - 1) * 10 / total)) ]; then say "$seen of $total $what"; fi
        done
        [ ! -t 2 ] || printf '\r\033[K' >&2
    }
    if [ -s "$failure" ]; then rm "$failure"; return 1; fi
    rm "$failure"
}

install_packages() {
    plan=$($sudo apt-get install -s -qq "$@") && counted "$(echo "$plan" | grep -c '^Conf')" packages "Setting up" \
        $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "$@"
}

# need PACKAGE...: installs those of these Debian packages that are missing.
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
    # shellcheck disable=SC2086
    install_packages $missing 2>/dev/null || { $sudo apt-get update -qq && install_packages $missing; } ||
        { echo "Installing$missing failed. Is this Debian 12, and are its package servers reachable?" >&2; exit 1; }
}

need_build_tools() {
    need g++ cmake ninja-build libgtest-dev libcli11-dev nlohmann-json3-dev libtomlplusplus-dev libncurses-dev libmosquitto-dev
}
need_test_tools() { need_build_tools; need socat jq mosquitto mosquitto-clients ser2net tmux python3 tshark; }

# build PRESET [TARGET...]: configures the preset when it is new, and builds with all cores.
build() {
    preset=$1; shift
    [ -f "build/$preset/build.ninja" ] || { say "configuring build/$preset"; cmake --preset "$preset" >/dev/null; }
    # shellcheck disable=SC2086
    NINJA_STATUS="[%f/%t] " cmake --build --preset "$preset" ${1:+--target "$@"} -- -j "$jobs" >&2
}
