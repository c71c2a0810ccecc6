# bash completion for hearthix-sim
_hearthix_sim() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $previous in
        --driver | --answers | --units | --mesh | --record | --replay)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        --serial)
            mapfile -t COMPREPLY < <(compgen -f -- "${current:-/dev/}")
            return
            ;;
        --listen | --gateway | --tcp | --id | --for | --count | --until | --rate | --junk | --silent-after | --drop-after)
            return
            ;;
    esac
    local words
    case ${COMP_WORDS[1]} in
        demo) words="--for --driver --pty --mesh --rate --fragment --junk --trace --help --version" ;;
        soak) words="--for --driver --pty --rate --help --version" ;;
        host) words="--listen --driver --serial --gateway --id --restart --record --units --trace --json --for --count --until --help --version" ;;
        check-host) words="--driver --answers --json --help --version" ;;
        types) words="--help --version" ;;
        inspect)
            words="--follow --json --help --version"
            [[ $current == -* ]] || { compopt -o filenames; words=$(compgen -f -- "$current"); }
            ;;
        gateway) words="--tcp --pty --mesh --greet --no-greet --rate --fragment --junk --silent-after
            --drop-after --record --replay --help --version" ;;
    esac
    ((COMP_CWORD == 1)) && words="demo soak host gateway inspect check-host types --help --version"
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _hearthix_sim hearthix-sim
