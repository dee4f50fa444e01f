#!/usr/bin/env bash
# install_test.sh BUILD-DIRECTORY CMAKE COMPILER: installs into a fresh directory and uses what is
# there as a stranger would: the headers, the CMake package, pkg-config, the command, the example.
set -euo pipefail
build=$1 cmake=$2 compiler=$3
umask 022
work=$(mktemp -d "$build/install_test.XXXXXX")
trap 'rm -rf "$work"' EXIT
failed=0
complain() { echo "$1" >&2; failed=1; }
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }; }

# The tree moves after the installation: nothing in it may remember where it was.
quietly "$cmake" --install "$build" --prefix "$work/first"
mv "$work/first" "$work/tree"
tree=$work/tree
grep -rlI -e "$build" -e "$work/first" "$tree" && complain "files with the place of the build in them"
for file in bin/postdock share/man/man1/postdock.1 share/man/man5/morvex-queue.5 \
    share/man/man5/morvex.cfg.5 share/bash-completion/completions/postdock; do
    [ -s "$tree/$file" ] || complain "$file is not installed"
done
[ -z "$(find "$tree" -perm /7000)" ] || complain "something is setuid, setgid or sticky"

# The public headers need no others.
(cd "$tree/include/morvex" && find . -name '*.h' -printf '#include "%P"\n' | sort) >"$work/all.cpp"
quietly "$compiler" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I"$tree/include/morvex" \
    "$work/all.cpp"

example=$(find "$tree" -type d -name list_queue)
quietly "$cmake" -S "$example" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$tree" \
    -DCMAKE_CXX_COMPILER="$compiler"
quietly "$cmake" --build "$work/cmake"
list=$work/cmake/list_queue

if command -v pkg-config >/dev/null; then
    PKG_CONFIG_PATH=$(dirname "$(find "$tree" -name morvex-queue.pc)")
    export PKG_CONFIG_PATH
    # shellcheck disable=SC2046 # words are wanted
    quietly "$compiler" -std=c++20 $(pkg-config --cflags morvex-queue) "$example/list_queue.cpp" \
        $(pkg-config --libs morvex-queue) -o "$work/list_queue"
else
    echo "pkg-config is not installed: the pkg-config files are not tried"
fi

# A queue filled by the installed command.
echo 'Server { primaryDomain = example.org processing = { queuePath = queue queueEntryCount = 4 } }' \
    >"$work/morvex.cfg"
submit() { "$tree/bin/postdock" -W "$work" -C morvex.cfg "$@"; }
bytes() { find "$work/queue" -name 'D*' -printf '%s\n'; }
before=$(date +%s)
printf 'Subject: one\n\nHello\n' | submit -f one@example.com first@example.net second@example.net
one=$(bytes)
printf 'Subject: two\nTo: Them <them@example.net>\n\nHello, hello\n' | submit -f 'two' -t
two=$(bytes | grep -vx "$one")

look() { find "$work/queue" -printf '%P %s %m %i %T@ %C@\n' | sort; }
look >"$work/tree-before"
"$list" "$work/queue" >"$work/list" || complain "the list of a sound queue fails"
look | cmp "$work/tree-before" - || complain "listing the queue changed it"
[ ! -x "$work/list_queue" ] || "$work/list_queue" "$work/queue" | cut -f 1 |
    cmp - <(cut -f 1 "$work/list") || complain "the program made by pkg-config lists another queue"

# The ids are random, and are told in their order; the age is what has passed since.
expected=$(printf 'RECEIVED\t%s\tone@example.com\tfirst@example.net,second@example.net\n' "$one"
    printf 'RECEIVED\t%s\ttwo@example.org\tthem@example.net\n' "$two")
[ "$(cut -f 2,3,5- "$work/list" | sort)" = "$(sort <<<"$expected")" ] ||
    complain "the list is not as expected: $(cat "$work/list")"
ids=$(cd "$work/queue" && find . -name 'S*' | sed 's|^./\(..\)/S|\1|' | sort)
[ "$(cut -f 1 "$work/list")" = "$ids" ] || complain "the ids are not $ids: $(cat "$work/list")"
most=$(($(date +%s) - before))
awk -F '\t' -v most="$most" '$4 < 0 || $4 > most { exit 1 }' "$work/list" ||
    complain "an age is not within $most seconds: $(cat "$work/list")"

# A mail that is still being made, and one whose state file is no such file.
: >"$work/queue/00/S0000"
echo rubbish >"$work/queue/03/SFFFF"
status=0
"$list" "$work/queue" >"$work/list" 2>"$work/errors" || status=$?
[ "$status" = 1 ] || complain "exit code $status for a queue with a damaged file"
grep -qx "000000	being made" "$work/list" || complain "a mail being made is not shown"
grep -q "03/SFFFF: " "$work/errors" || complain "a damaged file is not told"
[ "$(grep -c RECEIVED "$work/list")" = 2 ] || complain "the other mails are not listed"
exit $failed
