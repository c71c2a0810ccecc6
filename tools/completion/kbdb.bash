# Completion of kbdb for bash.

# The paths of values: the keys of the root and, by their addresses, those of the units. Keys with bytes that the dump
# does not print unchanged are omitted.
_kbdb_paths() {
    kbdb show "$1" 2>/dev/null | awk '
        function end() { for (i = 1; i <= n; i++) print address "/" keys[i]; n = 0; address = "" }
        /^    Container: / { end(); unit = /^    Container: unit \(/ }
        !/^ *[^= ][^=]*=/ || /^ *[^=]*\\x/ { next }
        { key = $0; sub(/=.*/, "", key); gsub("/", "\\/", key) }
        !/^     / && sub(/^    /, "", key) { print key }
        unit && /^        [^ ]/ { sub(/^ */, "", key); keys[++n] = key }
        unit && tolower(key) == "address" { address = substr($0, index($0, "=") + 1) }
        END { end() }'
}

_kbdb_addresses() {
    kbdb units "$1" 2>/dev/null | sed -n '/^units: /q; s/^\([^ (][^ ]*\).*/\1/p'
}

# Offers the lines of standard input that begin with $1. They come from a file and may contain anything, so the shell
# must never expand them.
_kbdb_offer() {
    local line
    while IFS= read -r line; do
        [[ $line == "$1"* ]] && COMPREPLY+=("$(printf %q "$line")")
    done
}

_kbdb() {
    local current=${COMP_WORDS[COMP_CWORD]} word words=()
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -?* ]] || words+=("$word")
    done
    if [[ $current == -* ]]; then
        _kbdb_offer "$current" < <(kbdb "${words[@]:0:1}" --help | grep -o -e '--[a-z]\+' | sort -u)
        return
    fi
    case ${#words[@]} in
    0) _kbdb_offer "$current" < <(kbdb --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]\+\) .*/\1/p') ;;
    1) compopt -o filenames 2>/dev/null
       mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    2) case ${words[0]} in
       get | set | remove) _kbdb_offer "$current" < <(_kbdb_paths "${words[1]}") ;;
       remove-unit) _kbdb_offer "$current" < <(_kbdb_addresses "${words[1]}") ;;
       esac ;;
    esac
}

complete -F _kbdb kbdb
