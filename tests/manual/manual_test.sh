#!/usr/bin/env bash
# manual_test.sh POSTDOCK SOURCE-DIRECTORY CONFIGURATION-PAGE: the manual page and the completion
# name what the program takes and prints, no more and no less, and the page of the configuration
# file shows the attributes as the schema has them.
set -uo pipefail
postdock=$1
source=$2
configuration=$3
page=$source/docs/man/postdock.1
failed=0
dir=$(mktemp -d "${TMPDIR:-/tmp}/postdock-manual-XXXXXX")
trap 'rm -rf "$dir"' EXIT

complain() { echo "FAILED: $1" >&2; failed=1; }

# same WHAT A B: two lists of words, in any order.
same() {
    diff <(tr ' ' '\n' <<<"$2" | sort -u) <(tr ' ' '\n' <<<"$3" | sort -u) >"$dir/diff" || {
        complain "$1"
        cat "$dir/diff" >&2
    }
}

options=$("$postdock" --help | sed -n 's/^    \(-.\)\(, \(--[a-z]*\)\)\? .*/\1 \3/p')
[ "$(wc -l <<<"$options")" -ge 15 ] || complain "the usage text shows no options"
# Those that the list of dropped flags hides are told of in the text.
hidden=$("$postdock" --help | sed -n 's/^    \(-.\) .*Ignored, for compatibility.*/\1/p')
kept=$(grep -vxFf <(sed 's/$/ /' <<<"$hidden") <<<"$options" | xargs)
listed=$(sed -n '/^The options are:/,/^\.El/s/^\.It //p' "$page" |
    grep -o 'Fl [^ ]*' | sed 's/Fl /-/' | xargs)
same "options of the program (<) and of the manual (>)" "$kept" "$listed"

dropped=$(sed -n '/ignoreArgs\[\]/,/^}/p' "$source/submit/options.cpp" | grep -o '"-."' |
    tr -d '"-')
told=$(sed -n '/^Dropped are all arguments/,/^\.Ed/p' "$page" | sed -n 's/^\.Fl //p' |
    tr -d ',' | xargs)
same "dropped flags of the program (<) and of the manual (>)" "$(xargs <<<"$dropped")" "$told"

# Every text that is reported or printed by the parser stands in the manual.
grep -v '^\.[A-Z][a-z]$' "$page" | sed 's/^\.It "\(.*\)"$/\1/; s/^\.Dq //; s/\\&//g' >"$dir/page"
texts=$(cat "$source"/submit/*.cpp | tr '\n' ' ' |
    grep -oE '((report|f(puts|printf))\((stderr, *)?|text = )"[^"]+"' |
    sed 's/^[^"]*"//; s/\\n//; s/"$//')
[ "$(wc -l <<<"$texts")" -ge 15 ] || complain "no texts found in submit/"
while IFS= read -r text; do
    # Of an option's two forms and of the three fields the manual writes all out.
    text=${text//"'%s:'"/"'To:'"}
    case $text in
    'duplicate options are not accepted: ') text+='-%c.' ;;
    -%c. | --%s. | 'Not configured.' | '') continue ;; # the second halves; a table left out
    esac
    grep -qxF -- "$text" "$dir/page" || complain "the manual does not tell of: $text"
done <<<"$texts"

# row CLASS ATTRIBUTE TEXT: what the table tells of an attribute, in one line.
row() {
    local told
    told=$(sed -n "/^\.Ss $1\$/,/^\.El/p" "$configuration" | sed -n "/^\.It Va $2\$/,/^\.[IE]/p" |
        grep -v '^\.')
    [ "${told//$'\n'/ }" = "$3" ] || complain "$1.$2 is told of as: $told"
}
row ProcessingService queueEntryCount 'UnsignedInt, 1 to 256; default 64'
row ProcessingService queuePath 'CSString, a path; default \(dqqueue\(dq'
row IPListener enable 'Choice, one of no, yes; default yes'
row LogRule priority 'UnsignedInt, 1 to 1000; key, required'
row LogRule fileTime 'UnsignedInt, 600 to 2592000, or 0; default 86400'
row Server userMaps 'set of objects of UserMap, at most 64'
row SSLControl allowedVersions 'ChoiseSet, any of ssl2, ssl3, tls1, tls1_1, tls1_2, all; '\
'default (ssl3 tls1 tls1_1 tls1_2)'
classes=$(grep -cE '^ +(CONCRETE|ABSTRACT)\(' "$source/config/schema/class_tree.h")
[ "$(sed -n '/^\.Sh CLASSES/,/^\.Sh FILES/p' "$configuration" | grep -c '^\.Ss ')" = "$classes" ] ||
    complain "not all of the $classes classes are in the table"

# shellcheck source=/dev/null
. "$source/completion/postdock.bash" || complain "the completion cannot be sourced"
# complete_words WORD...: what is offered for the last word.
complete_words() {
    COMP_WORDS=(postdock "$@")
    COMP_CWORD=$#
    _postdock 2>/dev/null
    printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | xargs
}
offered=$(complete_words -)
same "options of the program (<) and of the completion (>)" "${kept/-i /-ti -ni }" "$offered"

mkdir -p "$dir/wdir/run" "$dir/wall"
touch "$dir/wdir/run/morvex.cfg" "$dir/wfile"
me=$(id -un)
# expect RESULT WORD...
expect() {
    local result
    result=$(complete_words "${@:2}")
    [ "$result" = "$1" ] || complain "completing '${*:2}' gave '$result' and not '$1'"
}
expect "--workdir" --w
expect "" -W /tmp --w
expect "" --workdir /tmp -W
expect "$dir/wall $dir/wdir" -W "$dir/w"
expect "run/morvex.cfg" -W "$dir/wdir" -C run/m
expect "$dir/wfile" --configfile "$dir/wf"
expect "" -F -
expect "--configfile --help --version --workdir -C -F -W -f -h -n -ni -r -v" -t -oi -
expect "--configfile --help --version -C -F -f -h -r -v" -nti --WorkDir /tmp -
expect "--help --version --workdir -F -W -h -n -ni -r -t -ti -v" -C- -fti -
expect "" -f me you -
expect "" -- -
[[ " $(complete_words "$me") " == *" $me "* ]] || complain "the caller's own name is not offered"
[[ " $(complete_words -t "") " == *" $me "* ]] || complain "no recipients are offered"

exit $failed
