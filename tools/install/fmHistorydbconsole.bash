# bash completion of fmHistorydbconsole: commands, their options, and project names after
# --project (read from the root that "-fmRoot" on the line or the configured root names).
# The program itself lists its commands and options ("help --commands", "help --options CMD").

_fmHistorydbconsole()
{
    local cur=${COMP_WORDS[COMP_CWORD]}
    local prev=""
    [ "$COMP_CWORD" -gt 0 ] && prev=${COMP_WORDS[COMP_CWORD - 1]}
    local exe=${COMP_WORDS[0]}
    local root=() command="" i word
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
        -fmRoot | -fmroot)
            ((i + 1 < COMP_CWORD)) && root=(-fmRoot "${COMP_WORDS[i + 1]}")
            ((i++))
            ;;
        --project | -o | --output | --projects | --jobs | --seed | --user | --app | --text | --by | --from | --to | \
            --format | --sqlite | --postgres | -OMName | -OMN | -OUName | -loadstatus | -LocalDataFolder)
            ((i++))
            ;;
        -*) ;;
        *) [ -z "$command" ] && command=$word ;;
        esac
    done

    case $prev in
    --project)
        local IFS=$'\n'
        COMPREPLY=($(compgen -W "$("$exe" "${root[@]}" projects --names 2>/dev/null)" -- "$cur"))
        return
        ;;
    -fmRoot | -fmroot | -LocalDataFolder)
        COMPREPLY=($(compgen -d -- "$cur"))
        return
        ;;
    -o | --output | --sqlite)
        COMPREPLY=($(compgen -f -- "$cur"))
        return
        ;;
    --by)
        COMPREPLY=($(compgen -W "user project month software" -- "$cur"))
        return
        ;;
    --format)
        COMPREPLY=($(compgen -W "table csv json" -- "$cur"))
        return
        ;;
    --projects | --jobs | --seed | --user | --app | --text | --from | --to | --postgres | -OMName | -OMN | -OUName)
        return
        ;;
    esac

    if [ -z "$command" ]; then
        if [[ $cur == -* ]]; then
            COMPREPLY=($(compgen -W "-fmRoot --verbose -debug --help" -- "$cur"))
        else
            COMPREPLY=($(compgen -W "$("$exe" help --commands 2>/dev/null)" -- "$cur"))
        fi
        return
    fi
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$("$exe" help --options "$command" 2>/dev/null)" -- "$cur"))
        return
    fi
    case $command in
    help) COMPREPLY=($(compgen -W "$("$exe" help --commands 2>/dev/null)" -- "$cur")) ;;
    check) COMPREPLY=($(compgen -f -- "$cur")) ;;
    demo-root) COMPREPLY=($(compgen -d -- "$cur")) ;;
    esac
}
complete -F _fmHistorydbconsole fmHistorydbconsole
