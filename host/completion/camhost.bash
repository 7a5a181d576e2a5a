# Bash completion of camhost. Source this file, or install it as
# share/bash-completion/completions/camhost.

_camhost_common="--library --virtual --stand-in --virtual-script --tv-root --platform
                 --driver-log --log-level --help"

_camhost_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur")
}

# Names come from the program itself, so that they are always its own.
_camhost_names() {
    _camhost_words "$("${COMP_WORDS[0]}" names "$1" 2>/dev/null)"
}

_camhost() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
    local command="" action="" property="" word i
    COMPREPLY=()
    # Already complete words that are no options tell the subcommand.
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case ${COMP_WORDS[i-1]} in
            --library|--stand-in|--virtual-script|--tv-root|--platform|--driver-log|--log-level) continue ;;
        esac
        [[ $word == -* ]] && continue
        if [[ -z $command ]]; then command=$word
        elif [[ -z $action ]]; then action=$word; property=$word
        fi
    done

    case $prev in
        --platform) _camhost_names platforms; return ;;
        --signal-type) _camhost_names signals; return ;;
        --method) _camhost_words "running checksum pcsync uvc"; return ;;
        --log-level) _camhost_words "1 2 3 4 5"; return ;;
        --tv-root) mapfile -t COMPREPLY < <(compgen -d -- "$cur"); return ;;
        --library|--stand-in|--virtual-script|--driver-log|--out|--frame-list)
            mapfile -t COMPREPLY < <(compgen -f -- "$cur"); return ;;
    esac

    if [[ $cur == -* ]]; then
        local own=""
        case $command in
            record) own="--seconds --out --signal-type --size --raw-size --bitrate --fps --mic-volume --no-still --frame-list" ;;
            info|capabilities) own="--json" ;;
            properties) own="--json --self-tests" ;;
            set) own="--recording" ;;
            still) own="--out --size" ;;
            ptz) own="--pan --tilt --zoom --focus" ;;
            xu) own="--length --then-read" ;;
            watch) own="--events --seconds" ;;
            firmware) [[ $action == update ]] && own="--method --type --checksum --interface --unlock" ;;
        esac
        _camhost_words "$own $_camhost_common"
        return
    fi

    case $command in
        "") _camhost_words "info record get set capabilities properties still ptz self-test firmware xu watch" ;;
        get) [[ -z $action ]] && _camhost_names readable ;;
        set)
            if [[ -z $action ]]; then _camhost_names settable
            else case $property in
                signal-type) _camhost_names signals ;;
                frequency) _camhost_words "50Hz 60Hz" ;;
                resolution) _camhost_words "640x480 1280x720 1920x1080" ;;
            esac
            fi ;;
        firmware)
            if [[ -z $action ]]; then _camhost_words "status update inspect"
            else mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            fi ;;
        xu) [[ -z $action ]] && _camhost_words "6:1 6:2 6:3 6:4 6:14 6:15" ;;
    esac
}

complete -F _camhost camhost
