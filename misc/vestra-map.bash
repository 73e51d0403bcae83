# bash completion for vestra-map                           -*- shell-script -*-
#
# Completes the options, picture names for -o, programs for --gmt and
# GeoJSON files as the input.

_vestra_map()
{
    local cur prev words cword split
    _init_completion -s || return

    case $prev in
        -o | --output)
            _filedir '@(png|pdf|PNG|PDF)'
            return
            ;;
        --gmt)
            compopt -o filenames
            COMPREPLY=($(compgen -c -- "$cur"))
            return
            ;;
        --size | --dpi | --truth)
            return
            ;;
    esac
    $split && return

    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W '-o --output= --size= --dpi= --truth= --gmt=
            --help --version' -- "$cur"))
        [[ ${COMPREPLY-} == *= ]] && compopt -o nospace
        return
    fi
    _filedir '@(geojson|json|GEOJSON|JSON)'
} &&
    complete -F _vestra_map vestra-map
