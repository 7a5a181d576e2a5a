#!/bin/bash
# Asks the completion for words, as the shell does at a press of the Tab key.
# usage: completion_test.bash COMPLETION [LAUNCHER...] CAMHOST
source "$1" || exit 1
shift
# A program may need another one to run it; the completion knows of one only.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
program=$work/camhost
{ echo '#!/bin/sh' && printf '%q ' exec "$@" && echo '"$@"'; } >"$program" && chmod +x "$program"
failures=0

# expect "typed words" "words that must be offered"...; the last typed word is
# the one being completed, empty after a blank.
expect() {
    local typed=$1 word
    shift
    read -ra COMP_WORDS <<<"$typed"
    COMP_WORDS[0]=$program
    [[ $typed == *" " ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _camhost
    for word in "$@"; do
        if [[ $word == "!"* ]]; then
            if printf '%s\n' "${COMPREPLY[@]}" | grep -qxF -- "${word#!}"; then
                echo "\"$typed\" offers ${word#!}"
                failures=$((failures + 1))
            fi
        elif ! printf '%s\n' "${COMPREPLY[@]}" | grep -qxF -- "$word"; then
            echo "\"$typed\" does not offer $word, but: ${COMPREPLY[*]}"
            failures=$((failures + 1))
        fi
    done
}

expect "camhost " record info get set firmware watch
expect "camhost re" record '!info'
expect "camhost record --signal-type " H264_H264_GRAY GRAY
expect "camhost record --signal-type H264_G" H264_GRAY '!GRAY'
expect "camhost --platform " brevan ferrow_b
expect "camhost --platform calder " record '!calder'
expect "camhost record --" --seconds --out --virtual '!--json'
expect "camhost get " bitrate tilt '!force-i'
expect "camhost get bitrate " '!tilt'
expect "camhost set " force-i bitrate '!isp-status'
expect "camhost set frequency " 50Hz 60Hz
expect "camhost set signal-type H264_N" H264_NV21
expect "camhost firmware " status update inspect
expect "camhost firmware update --me" --method
expect "camhost firmware update x --method " pcsync uvc
expect "camhost xu " 6:14
exit $((failures > 0))
