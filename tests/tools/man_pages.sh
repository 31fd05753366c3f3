#!/usr/bin/env bash
# The manual pages name every subcommand and every option that the programs'
# --help texts name, so that the two cannot drift apart.
#   man_pages.sh SOURCE_DIR VELKPORT VELKPORT_PHONE
set -u
source_dir=$1
velkport=$2
phone=$3
failures=0

# The options a help text names: --words and the short -o.
options() { grep -oE -- '(^|[ [,])--?[a-z][a-z-]*' | sed 's/^[ [,]//' | sort -u; }

# check PAGE HELP_TEXT: each option of the text stands in the page (whose
# "\-" is a plain "-" once rendered).
check() {
    local page=$1 help=$2 option
    local text
    text=$(sed 's/\\-/-/g' "$source_dir/man/$page")
    for option in $(printf '%s\n' "$help" | options); do
        grep -qF -- "$option" <<<"$text" || {
            echo "FAIL: $page does not name $option" >&2
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
done
check velkport.1 "$all_help"
check velkport-phone.1 "$("$phone" --help)"
exit $((failures > 0))
