# bash completion for torvelctl
_torvelctl() {
    local cur prev commands
    COMPREPLY=()
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    commands="status journal checkup report set topup calibrate probe install uninstall"

    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W "$commands --help --version" -- "$cur"))
        return
    fi
    case "$prev" in
        --range) COMPREPLY=($(compgen -W "day week month" -- "$cur")); return ;;
        --day) return ;;
    esac
    case "${COMP_WORDS[1]}" in
        status|checkup|probe) COMPREPLY=($(compgen -W "--json" -- "$cur")) ;;
        journal) COMPREPLY=($(compgen -W "--day --range --json --locale" -- "$cur")) ;;
        uninstall) COMPREPLY=($(compgen -W "--keep-data" -- "$cur")) ;;
        topup) COMPREPLY=($(compgen -W "on off" -- "$cur")) ;;
        calibrate) COMPREPLY=($(compgen -W "start stop" -- "$cur")) ;;
        set)
            # The keys come from torvelctl itself, so a new setting needs no edit here.
            local keys
            keys=$(torvelctl set --help 2>/dev/null | sed -n '/^keys:/,$p' | sed 's/^keys://; s/, and / /; s/=true//' | tr -s ' \n' '\n' | grep -v '^$' | sed 's/$/=/')
            compopt -o nospace 2>/dev/null
            COMPREPLY=($(compgen -W "$keys" -- "$cur"))
            ;;
    esac
}
complete -F _torvelctl torvelctl
