# bash completion for vestra-assoc                          -*- shell-script -*-
#
# Completes the options, the values of --format and --ellipsoid, file names
# for --unassociated, and file names otherwise.

_vestra_assoc()
{
    local options="--format= --unassociated= --min-detections= --min-arrays= --threshold= --copies= --max-false= --from= --to= --sigma= --celerity= --pick-error= --ellipsoid= --jobs= --help --version"
    local cur=${COMP_WORDS[COMP_CWORD]}
    local prev= prev2=
    ((COMP_CWORD >= 1)) && prev=${COMP_WORDS[COMP_CWORD - 1]}
    ((COMP_CWORD >= 2)) && prev2=${COMP_WORDS[COMP_CWORD - 2]}
    COMPREPLY=()

    # After "--" every word is a file.
    local i only_files=
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i]} == -- ]] && only_files=1
    done

    # The value of an option: "--format=js" arrives as "--format" "=" "js"
    # with "=" among the word breaks (the default), as one word without; a
    # value may also be the next word.
    local opt= val= keep=
    if [[ -z $only_files ]]; then
        if [[ $cur == = && $prev == --* ]]; then
            opt=$prev
        elif [[ $prev == = && $prev2 == --* ]]; then
            opt=$prev2 val=$cur
        elif [[ $cur == --*=* ]]; then
            opt=${cur%%=*} val=${cur#*=} keep=$opt=
        else
            case $prev in
            --format | --unassociated | --min-detections | --min-arrays | \
            --threshold | --copies | --max-false | --from | --to | --sigma | \
            --celerity | --pick-error | --ellipsoid | --jobs | -j)
                opt=$prev val=$cur ;;
            esac
        fi
    fi
    if [[ -n $opt ]]; then
        local IFS=$' \t\n' word
        case $opt in
        --format)
            for word in json text; do
                [[ $word == "$val"* ]] && COMPREPLY+=("$keep$word")
            done ;;
        --ellipsoid)
            for word in $(seq 1 25); do
                [[ $word == "$val"* ]] && COMPREPLY+=("$keep$word")
            done ;;
        --unassociated)
            local IFS=$'\n'
            for word in $(compgen -f -- "$val"); do
                COMPREPLY+=("$keep$word")
            done ;;
        esac
        return 0
    fi

    if [[ -z $only_files && $cur == -* ]]; then
        local IFS=$' \t\n'
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        if ((${#COMPREPLY[@]} == 1)) && [[ ${COMPREPLY[0]} == *= ]]; then
            compopt -o nospace 2>/dev/null
        fi
        return 0
    fi
    local IFS=$'\n'
    COMPREPLY=($(compgen -f -- "$cur"))
    return 0
}
complete -F _vestra_assoc vestra-assoc
