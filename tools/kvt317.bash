# Bash completion for kvt317: commands, each command's options, option values, record
# types for members, and file names.

_kvt317()
{
    local current previous command
    current="${COMP_WORDS[COMP_CWORD]}"
    previous="${COMP_WORDS[COMP_CWORD - 1]}"
    local commands="check convert show dump diff new members get set unset add remove"

    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
        return
    fi
    command="${COMP_WORDS[1]}"

    case "$previous" in
        --format)
            mapfile -t COMPREPLY < <(compgen -W "text json" -- "$current")
            return
            ;;
        --to)
            mapfile -t COMPREPLY < <(compgen -W "xml json binary compressed" -- "$current")
            return
            ;;
        --by)
            mapfile -t COMPREPLY < <(compgen -W "position name" -- "$current")
            return
            ;;
        --level)
            mapfile -t COMPREPLY < <(compgen -W "-1 0 1 2 3 4 5 6 7 8 9" -- "$current")
            return
            ;;
    esac

    local options="--help"
    case "$command" in
        check) options="$options --quiet --format --no-lint" ;;
        convert) options="$options --to --level --force --wait" ;;
        show | dump | members) options="$options --format" ;;
        diff) options="$options --format --by" ;;
        new) options="$options --bearing --output --to --level" ;;
        set | unset | add | remove) options="$options --force --wait" ;;
    esac
    if [[ "$current" == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
        return
    fi
    if [ "$command" = members ]; then
        mapfile -t COMPREPLY < <(compgen -W \
            "KVT317_Settings KVT317SettingsDetail BearingSettings FrequencyRange" -- "$current")
        return
    fi
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

complete -o filenames -F _kvt317 kvt317
