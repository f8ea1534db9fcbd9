// The part of completion/rc.bash that is the same whatever the tables hold.
//
// What has been typed is compared and looked up, never run: the line is split at its blanks by
// read, not by the shell's own rules, so that quotes and expansions in it stay text.
#include "reference/completion_functions.h"

const char* const completion_functions = R"bash(
# Offers the words of a list that begin with what has been typed, each with a suffix. Blanks part the
# words, or '|' where one of them holds a blank.
#   _rc_offer TYPED LIST [SUFFIX]
_rc_offer() {
    local IFS=$' \t\n' words word
    if [[ $2 == *'|'* ]]; then IFS=$'|\n'; fi
    read -rd '' -a words <<< "$2"
    for word in "${words[@]}"; do
        [[ $word == "$1"* ]] || continue
        printf -v word %q "$word"
        COMPREPLY+=("$word${3-}")
    done
}

# A key with its value. Where '=' parts words, only what stands behind it is replaced.
_rc_assignment() {
    local key=${1%%=*} before=''
    if [[ $1 != *=* ]]; then
        _rc_offer "$1" "$_rc_keys" =
        compopt -o nospace 2> /dev/null
    elif [[ -n $key && -n ${_rc_values[$key]-} ]]; then
        _rc_offer "${1#*=}" "${_rc_values[$key]}"
        [[ $COMP_WORDBREAKS == *=* ]] || before=$key=
        COMPREPLY=("${COMPREPLY[@]/#/"$before"}")
    fi
}

# What stands behind rc.
_rc_action() {
    case $# in
    1) _rc_offer "$1" "$_rc_names" ;;
    2) _rc_offer "$2" "${_rc_actions[$1]-}" ;;
    esac
}

# A word of a kind. The names of files are left to readline, which knows how to quote them.
#   _rc_of_kind KIND TYPED
_rc_of_kind() {
    case $1 in
    key) _rc_offer "$2" "$_rc_keys" ;;
    assignment) _rc_assignment "$2" ;;
    action) _rc_action "$2" ;;
    'words '*) _rc_offer "$2" "${1#words }" ;;
    folder) compopt -o dirnames 2> /dev/null ;;
    file) compopt -o default 2> /dev/null ;;
    place)
        _rc_offer "$2" '@working @factory @flash'
        compopt -o default 2> /dev/null
        ;;
    esac
}

# A program with verbs: its name and all words up to the cursor.
_rc_program() {
    local program=$1 verb='' kinds=() options_end='' word
    shift
    while (($# > 1)); do
        word=$1
        shift
        if [[ -z $options_end && $word == -- ]]; then
            options_end=1
        elif [[ -z $options_end && $word == -* ]]; then
            [[ -n ${_rc_kinds[$program${verb:+ $verb} $word]+set} ]] || continue
            if (($# == 1)); then
                _rc_of_kind "${_rc_kinds[$program${verb:+ $verb} $word]}" "$1"
                return
            fi
            shift
        elif [[ -z $verb ]]; then
            verb=$word
            read -ra kinds <<< "${_rc_kinds[$program $verb]-}"
        elif [[ ${kinds[0]-} == action ]]; then
            _rc_action "$word" "$@"
            return
        elif ((${#kinds[@]} > 1)); then
            kinds=("${kinds[@]:1}")
        fi
    done
    if [[ -z $options_end && $1 == -* ]]; then
        _rc_offer "$1" "${_rc_options[$program]-} ${_rc_options[$program $verb]-}"
    elif [[ -z $verb ]]; then
        _rc_offer "$1" "${_rc_verbs[$program]-}"
    else
        _rc_of_kind "${kinds[0]-}" "$1"
    fi
}

_rc_complete() {
    local line=${COMP_LINE:0:COMP_POINT} words
    read -ra words <<< "$line"
    if [[ $line == *[[:space:]] ]]; then words+=(''); fi
    COMPREPLY=()
    case ${1##*/} in
    rc) _rc_action "${words[@]:1}" ;;
    *) _rc_program "${1##*/}" "${words[@]:1}" ;;
    esac
}

complete -F _rc_complete rc nvram rcplan
)bash";
