// The part of completion/rc.bash that does not depend on the tables.
//
// Typed words are compared and looked up, never run: read splits the line at spaces,
// not the shell, so that quotes and expansions in it stay text.
#include "reference/completion_functions.h"

const char* const completion_functions = R"bash(
# Offers the words of a list that start with the typed text, each with a suffix. Spaces separate the
# words, or '|' if one of them contains a space.
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

# A key with its value. If '=' separates words, only the text after it is replaced.
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

# The words after rc.
_rc_action() {
    case $# in
    1) _rc_offer "$1" "$_rc_names" ;;
    2) _rc_offer "$2" "${_rc_actions[$1]-}" ;;
    esac
}

# A word of a kind. File names are left to readline, which quotes them.
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
        _rc_offer "$2" '@working @factory @flash @previous'
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
