#!/usr/bin/env bash
# The manual pages and the bash completion name every subcommand and every
# option that the programs' --help texts name, so that they cannot drift
# apart.
#   man_pages.sh SOURCE_DIR VELKPORT VELKPORT_PHONE
set -u
source_dir=$1
velkport=$2
phone=$3
failures=0

# The options a help text names: --words and the short -o.
options() { grep -oE -- '(^|[ [,])--?[a-z][a-z-]*' | sed 's/^[ [,]//' | sort -u; }

# check FILE HELP_TEXT: each option of the text stands in FILE, a page
# under man/ (whose "\-" is a plain "-" once rendered) or a completion
# under completion/.
check() {
    local file=$1 help=$2 option
    local text
    text=$(sed 's/\\-/-/g' "$source_dir/$file")
    for option in $(printf '%s\n' "$help" | options); do
        [ "$option" = -h ] && continue
        grep -qwF -- "$option" <<<"$text" || {
            echo "FAIL: $file does not name $option" >&2
            failures=$((failures + 1))
        }
    done
}

subcommands=$("$velkport" --help | sed -n '/^Subcommands:/,/^$/p' | awk 'NF > 1 { print $1 }')
[ -n "$subcommands" ] || { echo "FAIL: velkport --help lists no subcommands" >&2; exit 1; }
all_help=$("$velkport" --help)
for sub in $subcommands; do
    all_help+=$'\n'$("$velkport" help "$sub")
    sed 's/\\-/-/g' "$source_dir/man/velkport.1" | grep -q "^\.B $sub\b" || {
        echo "FAIL: velkport.1 has no entry for the subcommand $sub" >&2
        failures=$((failures + 1))
    }
    grep -qw -- "$sub" "$source_dir/completion/velkport" || {
        echo "FAIL: the completion of velkport does not name the subcommand $sub" >&2
        failures=$((failures + 1))
    }
done
check man/velkport.1 "$all_help"
check man/velkport-phone.1 "$("$phone" --help)"
check completion/velkport "$all_help"
check completion/velkport-phone "$("$phone" --help)"
exit $((failures > 0))
