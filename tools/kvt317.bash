# Bash completion for kvt317: commands, each command's options, option values (also after
# '='), record types for members, member paths of the document named before them, the names
# an enumeration member allows, and file names.

_kvt317()
{
    local current previous command option
    current="${COMP_WORDS[COMP_CWORD]}"
    previous="${COMP_WORDS[COMP_CWORD - 1]}"
    local commands="check convert show dump diff new members get set unset add remove"

    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
        return
    fi
    command="${COMP_WORDS[1]}"

    # The shell splits --format=json at '=': the value follows "--format" "=".
    option="$previous"
    if [ "$current" = "=" ]; then
        current=""
    elif [ "$previous" = "=" ] && [ "$COMP_CWORD" -ge 3 ]; then
        option="${COMP_WORDS[COMP_CWORD - 2]}"
    fi
    local values=""
    case "$option" in
        --format) values="text json" ;;
        --to) values="xml json binary bin compressed binz" ;;
        --by) values="position name" ;;
        --level) values="-1 0 1 2 3 4 5 6 7 8 9" ;;
        --wait) values="0 1 5 10 30 60" ;;
    esac
    if [ -n "$values" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
        return
    fi
    case "$option" in
        -o | --output) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
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

    # The positional arguments before the current word, options and their values left out.
    local arguments=() i word
    for ((i = 2; i < COMP_CWORD; i++)); do
        word="${COMP_WORDS[i]}"
        case "$word" in
            --format | --to | --by | --level | --wait | -o | --output)
                ((i++))
                [ "${COMP_WORDS[i]}" = "=" ] && ((i++))
                ;;
            -*) ;;
            *) arguments+=("$word") ;;
        esac
    done
    local count=${#arguments[@]} file="${arguments[0]}" candidates=""
    if [ "$count" -ge 1 ]; then
        case "$command" in
            get | unset | remove)
                candidates=$("$1" __complete path "$file" "$current" 2>/dev/null) ;;
            set)
                if ((count % 2 == 1)); then
                    candidates=$("$1" __complete path "$file" "$current" 2>/dev/null)
                else
                    candidates=$("$1" __complete value "$file" "${arguments[count - 1]}" 2>/dev/null)
                fi
                ;;
            add)
                if ((count % 2 == 1)); then
                    candidates=$("$1" __complete detail-path "$current" 2>/dev/null)
                else
                    candidates=$("$1" __complete detail-value "${arguments[count - 1]}" 2>/dev/null)
                fi
                ;;
        esac
        case "$command" in
            get | unset | remove | set | add)
                # Member paths hold '[' and '*', which are no file names to quote.
                compopt +o filenames 2>/dev/null
                COMPREPLY=()
                local candidate
                while IFS= read -r candidate; do
                    [[ -n "$candidate" && "$candidate" == "$current"* ]] || continue
                    # A name with blanks ("12.50 Hz") is one argument.
                    [[ "$candidate" == *" "* ]] && printf -v candidate %q "$candidate"
                    COMPREPLY+=("$candidate")
                done <<<"$candidates"
                if [ ${#COMPREPLY[@]} -gt 0 ] && [[ "${COMPREPLY[*]}" =~ [.[]( |$) ]]; then
                    compopt -o nospace 2>/dev/null
                fi
                return
                ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

complete -o filenames -F _kvt317 kvt317
