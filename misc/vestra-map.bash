# bash completion for vestra-map                           -*- shell-script -*-
#
# Completes the options (abbreviations too), picture names for -o, programs
# for --gmt, and GeoJSON files as the input.

# Adds to COMPREPLY the directories and the files whose name, in lower
# case, matches the regular expression $1, among those starting with $2.
_vestra_map_files()
{
    local IFS=$'\n' word
    for word in $(compgen -f -- "$2"); do
        [[ -d $word || ${word,,} =~ $1 ]] && COMPREPLY+=("$word")
    done
}

_vestra_map()
{
    local options="--output= --size= --dpi= --truth= --gmt= --help --version"
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

    # The value of an option: "--output=m" arrives as "--output" "=" "m"
    # with "=" among the word breaks (the default), as one word without; a
    # value may also be the next word. An option may be abbreviated.
    local opt= val= keep=
    if [[ -z $only_files ]]; then
        if [[ $cur == = && $prev == --* ]]; then
            opt=$prev
        elif [[ $prev == = && $prev2 == --* ]]; then
            opt=$prev2 val=$cur
        elif [[ $cur == --*=* ]]; then
            opt=${cur%%=*} val=${cur#*=} keep=$opt=
        elif [[ $prev == -o || $prev == --?* ]]; then
            opt=$prev val=$cur
        fi
    fi
    if [[ $opt == --?* ]]; then
        local word full=
        for word in $options; do
            [[ $word == "$opt"*= ]] && full=${full:+ambiguous}${full:-${word%=}}
        done
        opt=$full
    fi
    local IFS=$'\n'
    case $opt in
    -o | --output)
        _vestra_map_files '\.(png|pdf)$' "$val"
        ;;
    --gmt)
        COMPREPLY=($(compgen -c -- "$val" | sort -u))
        ;;
    --size | --dpi | --truth | ambiguous) ;;
    *)
        if [[ -z $only_files && $cur == -* ]]; then
            IFS=$' \t\n'
            COMPREPLY=($(compgen -W "$options" -- "$cur"))
            if ((${#COMPREPLY[@]} == 1)) && [[ ${COMPREPLY[0]} == *= ]]; then
                compopt -o nospace 2>/dev/null
            fi
        else
            _vestra_map_files '\.(geojson|json)$' "$cur"
            compopt -o filenames 2>/dev/null
        fi
        return 0
        ;;
    esac
    ((${#COMPREPLY[@]})) && compopt -o filenames 2>/dev/null
    COMPREPLY=("${COMPREPLY[@]/#/$keep}")
    return 0
}
complete -F _vestra_map vestra-map
