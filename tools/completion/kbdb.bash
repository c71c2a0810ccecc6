# Completion of kbdb for bash.

_kbdb_keys() {
    # The keys of the root: the lines of the dump up to the first child.
    kbdb show "$1" 2>/dev/null | sed -n '2,$ { /^    Container: /q; s/^    \([^=]*\)=.*/\1/p }'
}

_kbdb_addresses() {
    kbdb units "$1" 2>/dev/null | sed -n '/^units: /q; s/^\([^ (][^ ]*\).*/\1/p'
}

# Offers the lines of standard input that begin with $1. They come out of a file and may hold anything, so the
# shell never gets to expand them.
_kbdb_offer() {
    local line
    while IFS= read -r line; do
        [[ $line == "$1"* ]] && COMPREPLY+=("$(printf %q "$line")")
    done
}

_kbdb() {
    local current=${COMP_WORDS[COMP_CWORD]} file=${COMP_WORDS[2]}
    COMPREPLY=()
    case $COMP_CWORD in
    1) _kbdb_offer "$current" < <(printf '%s\n' show check units get set remove new add-unit remove-unit \
                                      --help --version) ;;
    2) compopt -o filenames 2>/dev/null
       mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    3) case ${COMP_WORDS[1]} in
       get | set | remove) _kbdb_offer "$current" < <(_kbdb_keys "$file") ;;
       remove-unit) _kbdb_offer "$current" < <(_kbdb_addresses "$file") ;;
       esac ;;
    esac
}

complete -F _kbdb kbdb
