# bash completion for vestra-fix, vestra-map and vestra-assoc -*- shell-script -*-
#
# One script, installed under each program's name: completes the options
# (unambiguous abbreviations too, as the programs take them), the values of
# the options that take one of a few words, a file or a program, and the
# input files otherwise.

# Sets `options` (the long options, "=" after those that take a value) and
# `inputs` (a regular expression that the names of input files match in
# lower case; empty: any file) for the program $1; status 1 for another.
_vestra_companion_table()
{
    local location="--sigma= --celerity= --pick-error= --ellipsoid= --jobs="
    case $1 in
    vestra-fix)
        options="--format= $location --help --version" inputs= ;;
    vestra-assoc)
        options="--format= --unassociated= --min-detections= --min-arrays="
        options+=" --threshold= --copies= --max-false= --from= --to="
        options+=" $location --help --version" inputs= ;;
    vestra-map)
        options="--output= --size= --dpi= --truth= --gmt= --help --version"
        inputs='\.(geojson|json)$' ;;
    *) return 1 ;;
    esac
}

# Adds to COMPREPLY the directories and the files whose name, in lower
# case, matches the regular expression $1 (any, when empty), among those
# starting with $2.
_vestra_companion_files()
{
    local IFS=$'\n' word
    for word in $(compgen -f -- "$2"); do
        [[ -z $1 || -d $word || ${word,,} =~ $1 ]] && COMPREPLY+=("$word")
    done
    ((${#COMPREPLY[@]})) && compopt -o filenames 2>/dev/null
}

# Adds to COMPREPLY the values of the option $2 (its full name, or a short
# option) of the program $1 that start with $3; none for a value that is a
# number or a time.
_vestra_companion_values()
{
    local IFS=$' \t\n' word words=
    case $1:$2 in
    vestra-fix:--format) words="text json geojson quakeml" ;;
    vestra-assoc:--format) words="json text" ;;
    *:--ellipsoid) words=$(seq 1 25) ;;
    vestra-assoc:--unassociated) _vestra_companion_files '' "$3" ;;
    vestra-map:--output | vestra-map:-o) _vestra_companion_files '\.(png|pdf)$' "$3" ;;
    vestra-map:--gmt) COMPREPLY=($(compgen -c -- "$3" | sort -u)) ;;
    esac
    for word in $words; do
        [[ $word == "$3"* ]] && COMPREPLY+=("$word")
    done
}

_vestra_companion()
{
    local program=${COMP_WORDS[0]##*/} options inputs
    _vestra_companion_table "$program" || return 0
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
        elif [[ $prev == -[oj] || $prev == --?* ]]; then
            opt=$prev val=$cur
        fi
    fi
    # A long option stands for the one of its name, else for the one it
    # abbreviates; only an option that takes a value has one to complete.
    if [[ $opt == --?* ]]; then
        local word full=
        for word in $options; do
            [[ $word == "$opt=" ]] && full=$opt && break
            [[ $word == "$opt"*= ]] && full=${full:+ambiguous}${full:-${word%=}}
        done
        opt=$full
    fi
    if [[ -n $opt ]]; then
        _vestra_companion_values "$program" "$opt" "$val"
        COMPREPLY=("${COMPREPLY[@]/#/$keep}")
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
    _vestra_companion_files "$inputs" "$cur"
    return 0
}
complete -F _vestra_companion vestra-fix vestra-map vestra-assoc
