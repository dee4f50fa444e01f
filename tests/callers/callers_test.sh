#!/usr/bin/env bash
# callers_test.sh POSTDOCK PAGE CALLER: a program that sends mail runs with the command as its
# submission command, and what it leaves in the queue is compared with what is expected, state file
# and data file. POSTDOCK is the command, PAGE its manual, whose adapter script is used as it stands
# there. CALLER is one of the functions run_... below. Ends with 77, which counts as skipped, where
# the program is not installed.
# shellcheck disable=SC2317 # the functions are called by their names' ends
set -uo pipefail
postdock=$1
page=$2
caller=$3
skip() {
    echo "skipped: $1"
    exit 77
}
need() { command -v "$1" >/dev/null || skip "$1 is not installed"; }

# Nothing of the user's settings reaches a caller, and no caller reaches the user's files.
if [ "${CALLERS_DIRECTORY-}" = "" ]; then
    dir=$(mktemp -d "${TMPDIR:-/tmp}/postdock-callers-XXXXXX")
    trap 'rm -rf "$dir"' EXIT
    mkdir -p "$dir/home" "$dir/tmp" "$dir/server/run"
    env -i CALLERS_DIRECTORY="$dir" HOME="$dir/home" TMPDIR="$dir/tmp" TZ=UTC LC_ALL=C.UTF-8 \
        PATH="$PATH:/usr/sbin" ${ASAN_OPTIONS+ASAN_OPTIONS="$ASAN_OPTIONS"} TERM=dumb \
        bash "$0" "$@"
    exit
fi
dir=$CALLERS_DIRECTORY
cd "$dir" || exit 1
failed=0
complain() {
    echo "FAILED: $1" >&2
    failed=1
}

printf 'Server { primaryDomain = example.org processing = { %s } }\n' \
    'queuePath = queue queueEntryCount = 1' >server/run/morvex.cfg
# The two commands that callers are given: the program itself, and the adapter of the manual.
plain=$dir/postdock
adapter=$dir/sendmail
cat >"$plain" <<EOF
#!/bin/sh
echo "\$*" >"$dir/arguments"
exec "$postdock" -W "$dir/server" "\$@"
EOF
sed -n '/^#!\/bin\/sh/,/^\.Ed/p' "$page" | sed '/^\.Ed/d; s/\\e/\\/g' |
    sed "s|/usr/bin/postdock|$plain|" >"$adapter"
grep -qF "$plain \"\$@\"" "$adapter" || { complain "the manual has no adapter script"; exit 1; }
chmod +x "$plain" "$adapter"
own=$(id -un 2>/dev/null || id -u)@example.org

# queued WHAT RETURN-PATH SENDER RECIPIENTS <TEXT: there is one mail in the queue, with these
# addresses in its state file and this text in its data file, each line ended by CR LF. Times, ids
# and versions of programs are stars, and the trace field is left out. The queue is then emptied.
queued() {
    local ids id count state
    cat >expected
    ids=$(ls server/queue/locals 2>/dev/null)
    if [[ ! $ids =~ ^00[0-9A-F]{4}$ ]]; then
        complain "$1: the markers are '$ids'"
    else
        id=${ids#00}
        state=server/queue/00/S$id
        count=$(od -An -tu4 -j42 -N4 "$state" | tr -d ' ')
        [ "$(head -c 6 "$state")$(od -An -tx1 -j6 -N8 "$state")" = \
            "HMIQF\$ 07 00 00 00 01 01 00 00" ] || complain "$1: the state file's head is wrong"
        tail -c +$((10 + 96 + 16 * 32 + 64 * count + 1)) "$state" | tr '\0' '\n' >addresses
        # shellcheck disable=SC2086 # one line a recipient
        printf '%s\n' "$2" "$3" '<>' $4 | diff - addresses >difference ||
            complain "$1: expected (<) and found (>) in the state file: $(cat difference)"
        sed "1,2{/^Received: by example.org (Morvex postdock invoked by uid $(id -u)) id 00$id;\r$/d
                /^ [A-Z][a-z][a-z], .* [-+][0-9]*\r$/d}
            s/\r$//;t;s/$/<no CR>/" "server/queue/00/D$id.00" |
            sed -E '1,/^$/s/^(Date|Message-I[dD]|User-Agent|X-Mailer): .*/\1: */' |
            diff expected - >difference ||
            complain "$1: expected (<) and found (>) in the data file: $(cat difference)"
    fi
    [ "$failed" = 0 ] || echo "called with: $(cat arguments)" >&2
    rm -rf server/queue arguments
}
# submit WORD...: runs a caller, or the command, with the file text as its input.
submit() { "$@" <text >output 2>&1 || complain "'$*' ended with $?: $(cat output)"; }

body=$'Grüße\n.\n..\n.dot\nFrom here\n\n\tend \n'
bare=$'Grüße\n' # what is left of it without the i flag
kept=${body/$'\n.\n'/$'\n. \n'}

# The flags that programs were written with, without the programs: also what the manual says of
# those that surprise.
run_flags() {
    local head=$'From: root (Cron Daemon)\nTo: root\nSubject: Cron <root@host> a\n  job\n'
    local from=$'From: root (Cron Daemon)\nTo: root\nSubject: Cron <root@host> a job\n\n'
    local sender=$'Date: *\nSender: "CronDaemon"<'"$own>"$'\n'
    printf '%s\n%s' "$head" "$body" >text
    for flags in "-FCronDaemon -i -odi -oem -oi -t" "-FCronDaemon -i -B8BITMIME -oem root"; do
        # shellcheck disable=SC2086 # words are wanted
        submit "$plain" $flags
        queued "$flags" "$own" root@example.org root@example.org <<<"$sender$from${bare%$'\n'}"
    done
    printf '%s\n%s' "${head/  job/ job}" "$body" >text
    submit "$adapter" -FCronDaemon -i -odi -oem -oi -t
    queued "adapter with -t" "$own" root@example.org root@example.org <<<"$sender$from${body%$'\n'}"
    submit "$adapter" -i -v -f robot@example.net -- ops@example.net bob
    queued "adapter with recipients" root@example.org root@example.org \
        "ops@example.net bob@example.org" <<<$'Date: *\n'"$from${kept%$'\n'}"
    local name=root
    sed -i "1s|$name|$name@example.org|" text
    submit "$adapter" -ni -i ops@example.net
    queued "adapter with -ni" root@example.org root@example.org ops@example.net \
        <<<$'Date: *\n'"${from/$name/$name@example.org}${body%$'\n'}"

    whole_message
    submit "$adapter" -i -t -v
    whole_stored "adapter with the flags of bsd-mailx -v"
    printf 'To: root\n\n%s' "$body" >text
    submit "$plain" -i
    printf 'Date: *\nFrom: %s\nTo: root\n\n%s' "$own" "$bare" |
        queued "-i alone" "$own" "$own" root@example.org
    submit "$plain" -t -v
    [ ! -e server/queue ] || complain "-v leaves a mail"
    printf 'To: Grüße <lost@example.net>\nCc: kept@example.net\n\nx' >text
    submit "$plain" -t
    printf 'Date: *\nFrom: %s\nTo: Grüße <lost@example.net>\nCc: kept@example.net\n\nx\n' \
        "$own" | queued "a name that is not ASCII" "$own" "$own" kept@example.net
    # Text without a header, with lines that look like one's continuation.
    printf '\n  two blanks\n\nTo: x\n\ty\r\n' >text
    submit "$adapter" root
    printf 'Date: *\nFrom: %s\n\n  two blanks\n\nTo: x\n\ty\n' "$own" |
        queued "adapter without a header" "$own" "$own" root@example.org
    local status
    "$adapter" -t <&- 2>/dev/null
    status=$?
    [ "$status" = 74 ] || complain "the adapter ends with $status where there is no input"
    [ "$(ls tmp)" = "" ] || complain "the adapter leaves files"
}

# Only root may replace what cron looks at, in a mount namespace; the jobs are run at its start.
run_cron() {
    need cron
    local crontab=space/spool/cron/crontabs/root
    mkdir -p space/run space/sbin space/empty "$(dirname "$crontab")"
    unshare -m -u mount --bind space/run /run 2>/dev/null ||
        skip "cron is run by root only, where a mount namespace can be made"
    cp "$(command -v cron)" space/sbin/cron
    cp "$adapter" space/sbin/sendmail
    : >space/nothing
    printf '%s' "$body" >space/run/body
    printf 'MAILTO=ops@example.net,bob\nPATH=/bin\n@reboot cat /run/body\n' >"$crontab"
    chmod 600 "$crontab"
    # shellcheck disable=SC2016 # the inner shell's words
    unshare -m -u bash -c '
        set -e
        hostname host
        mount --bind space/spool /var/spool
        mount --bind space/run /run
        mount --bind space/sbin /usr/sbin
        [ ! -e /etc/cron.d ] || mount --bind space/empty /etc/cron.d
        [ ! -e /etc/crontab ] || mount --bind space/nothing /etc/crontab
        exec timeout 100 /usr/sbin/cron -f' >output 2>&1 &
    local running=$!
    for _ in $(seq 300); do
        [ "$(ls server/queue/locals 2>/dev/null)" = "" ] || break
        kill -0 "$running" 2>/dev/null || break
        sleep 0.1
    done
    kill "$running" 2>/dev/null
    wait "$running"
    cat output >>arguments
    queued "cron" root@example.org root@example.org "ops@example.net bob@example.org" <<EOF
Date: *
Sender: "CronDaemon"<root@example.org>
From: root (Cron Daemon)
To: ops@example.net,bob
Subject: Cron <root@host> cat /run/body
MIME-Version: 1.0
Content-Type: text/plain; charset=UTF-8
Content-Transfer-Encoding: 8bit
X-Cron-Env: <MAILTO=ops@example.net,bob>
X-Cron-Env: <PATH=/bin>
X-Cron-Env: <SHELL=/bin/sh>
X-Cron-Env: <HOME=/root>
X-Cron-Env: <LOGNAME=root>

${kept%$'\n'}
EOF
}

run_bsd_mailx() {
    need bsd-mailx
    echo "set sendmail=$adapter" >home/.mailrc
    printf '%s' "$body" >text
    submit bsd-mailx -v -s 'A subject' -a 'From: Me <me@example.com>' -c cc@example.net \
        -b hidden@example.net joe@example.net bob
    queued "bsd-mailx" me@example.com me@example.com \
        "bob@example.org joe@example.net cc@example.net hidden@example.net" <<EOF
Date: *
To: bob, joe@example.net
Subject: A subject
Cc: cc@example.net
From: Me <me@example.com>
MIME-Version: 1.0
Content-Type: text/plain; charset="UTF-8"
Content-Transfer-Encoding: 8bit

${body%$'\n'}
EOF
}

long='Grüße aus der Küche und ein Betreff, der für eine Zeile zu lang ist'

run_s_nail() {
    need s-nail
    # It asks the system, not HOME, where the home of root is.
    printf '%s\n' "set mta=$adapter mta-arguments=-ni" 'set from="Me <me@example.com>"' \
        "set ttycharset=utf-8 sendcharsets=utf-8 DEAD=$dir/dead mime-encoding=8b" >rc
    export MAILRC=$dir/rc
    printf '%s' "$body" >text
    submit s-nail -:u -s "$long" -c cc@example.net -b hidden@example.net joe@example.net
    queued "s-nail" me@example.com me@example.com \
        "joe@example.net cc@example.net hidden@example.net" <<EOF
Date: *
From: Me <me@example.com>
To: joe@example.net
Cc: cc@example.net
Subject: =?utf-8?B?R3LDvMOfZQ==?= aus der =?utf-8?Q?K=C3=BCche?= und ein
 Betreff, der =?utf-8?B?ZsO8cg==?= eine Zeile zu lang ist
Message-ID: *
User-Agent: *
MIME-Version: 1.0
Content-Type: text/plain; charset=utf-8
Content-Transfer-Encoding: 8bit

${body%$'\n'}
EOF
}

run_mutt() {
    need mutt
    cat >home/.muttrc <<EOF
set sendmail="$adapter -ni" copy=no use_envelope_from=yes
set from=me@example.com realname="Mé" charset=utf-8 send_charset=utf-8 hostname=host.example.com
EOF
    printf '%s' "$body" >text
    submit mutt -n -s "$long" -c cc@example.net -b hidden@example.net -- joe@example.net bob
    queued "mutt" me@example.com me@example.com \
        "joe@example.net bob@host.example.com cc@example.net hidden@example.net" <<EOF
Date: *
From: =?utf-8?B?TcOp?= <me@example.com>
To: joe@example.net, bob@host.example.com
Cc: cc@example.net
Subject: =?utf-8?B?R3LDvMOfZSBhdXMgZGVyIEvDvGNoZSB1?=
 =?utf-8?Q?nd_ein_Betreff=2C_der_f=C3=BCr?= eine Zeile zu lang ist
Message-ID: *
MIME-Version: 1.0
Content-Type: text/plain; charset=utf-8
Content-Disposition: inline
Content-Transfer-Encoding: 8bit

${body%$'\n'}
EOF
}

run_git() {
    need git
    { perl -MMail::Address -e 1 && [ -e "$(git --exec-path)/git-send-email" ]; } 2>/dev/null ||
        skip "git send-email or its Perl modules are not installed"
    export GIT_CONFIG_NOSYSTEM=1 GIT_COMMITTER_DATE=2026-01-01T00:00:00Z
    local settings=("user.name Ünb Me" "user.email me@example.com" "sendemail.confirm never"
        "sendemail.quiet true" "sendemail.suppresscc all" "sendemail.transferEncoding 8bit"
        "sendemail.to joe@example.net" "sendemail.cc Jürgen <cc@example.net>, bob@example.net")
    local setting
    settings+=("sendemail.smtpServer $plain" "sendemail.smtpServerOption -ni")
    for setting in "${settings[@]}"; do
        git config --global "${setting%% *}" "${setting#* }"
    done
    git init -q tree
    echo one >tree/file
    git -C tree add file
    printf '%s\n\n%s' "$long, und noch etwas" "$body" |
        git -C tree commit -q --cleanup=verbatim --date=2026-01-01T00:00:00Z -F -
    : >text
    local how
    for how in "--bcc=hidden@example.net" "--envelope-sender=robot@example.net" \
        "--sendmail-cmd=$plain"; do
        submit git -C tree send-email "$how" --root -1
        queued "git send-email $how" me@example.com me@example.com \
            "joe@example.net cc@example.net bob@example.net
            $([[ $how != --bcc=* ]] || echo "${how#*=}")" <<EOF
From: =?UTF-8?q?=C3=9Cnb=20Me?= <me@example.com>
To: joe@example.net
Cc: =?UTF-8?q?J=C3=BCrgen?= <cc@example.net>,bob@example.net
Subject: [PATCH] =?UTF-8?q?Gr=C3=BC=C3=9Fe=20aus=20der=20K=C3=BCche=20und?=
 =?UTF-8?q?=20ein=20Betreff,=20der=20f=C3=BCr=20eine=20Zeile=20zu=20lang?=
 =?UTF-8?q?=20ist,=20und=20noch=20etwas?=
Date: *
Message-Id: *
X-Mailer: *
MIME-Version: 1.0
Content-Type: text/plain; charset=UTF-8
Content-Transfer-Encoding: 8bit

${body% $'\n'}
---
 file | 1 +
 1 file changed, 1 insertion(+)
 create mode 100644 file

diff --git a/file b/file
new file mode 100644
index 0000000..5626abf
--- /dev/null
+++ b/file
@@ -0,0 +1 @@
+one
-- 
$(git version | sed 's/^git version \([^ ]*\).*/\1/')

EOF
    done
}

# For programs that hand over a whole message: one with all that stands in the way of a plain call,
# in the file text, and what is to be stored of it, in the file stored.
whole_message() {
    printf '%s\n' 'From: "Me" <me@example.com>' 'To: joe@example.net,' ' bob' \
        'Bcc: hidden@example.net' 'Subject: =?utf-8?q?Gr=C3=BC=C3=9Fe?=' $' =?utf-8?q?_aus?= der' \
        $'\tKüche' "" >text
    printf '%s\n' 'Date: *' 'From: "Me" <me@example.com>' 'To: joe@example.net, bob' \
        'Subject: =?utf-8?q?Gr=C3=BC=C3=9Fe?= =?utf-8?q?_aus?= der Küche' "" >stored
    printf '%s' "$body" | tee -a stored >>text
    printf '%05000d\n' 0 | tee -a stored >>text
}
whole_stored() {
    queued "$1" me@example.com me@example.com \
        "joe@example.net bob@example.org hidden@example.net" <stored
}

run_perl() {
    need perl
    whole_message
    # shellcheck disable=SC2016 # Perl's words
    local program='open(my $mail, "|-", @ARGV) or die $!; print $mail <STDIN>;
        close $mail or die $?'
    submit perl -e "$program" "$adapter" -t -oi
    whole_stored "Perl with the adapter"
    sed '1s/.*/Bcc: hidden@example.net/' stored >text # without folds
    submit perl -e "$program" "$plain" -ti
    whole_stored "Perl"
}

run_python() {
    local python
    for python in python3 /usr/bin/python3 none; do
        "$python" -c "import email" 2>/dev/null && break
    done
    [ "$python" != none ] || skip "python3 is not installed"
    whole_message
    submit "$python" -c 'import subprocess, sys
subprocess.run(sys.argv[1:], input=sys.stdin.buffer.read(), check=True)' "$adapter" -t -oi
    whole_stored "Python with the adapter"
    # The lines of the manual.
    {
        echo 'import subprocess, sys
from email.message import EmailMessage
message = EmailMessage()
message["From"] = "Mé <me@example.com>"
message["To"] = "Joe <joe@example.net>, bob, " + sys.argv[1]
message["Subject"] = sys.argv[2]
message["Bcc"] = "hidden@example.net"
message.set_content(sys.argv[3], cte="8bit")'
        sed -n '/^policy = message/,/^\.Ed/p' "$page" | sed "/^\.Ed/d; s|/usr/bin/postdock|$plain|"
    } >program.py
    local more=second.recipient@example.net,third.recipient@example.net
    submit "$python" program.py "$more" "$long" "$body"
    queued "Python" me@example.com me@example.com \
        "joe@example.net bob@example.org ${more/,/ } hidden@example.net" <<EOF
Date: *
From: =?utf-8?q?M=C3=A9?= <me@example.com>
To: Joe <joe@example.net>, bob,
 second.recipient@example.net,third.recipient@example.net
Subject:
 =?utf-8?q?Gr=C3=BC=C3=9Fe_aus_der_K=C3=BCche_und_ein_Betreff=2C_der_f=C3=BCr?=
 eine Zeile zu lang ist
Content-Type: text/plain; charset="utf-8"
Content-Transfer-Encoding: 8bit
MIME-Version: 1.0

${body%$'\n'}
EOF
}

run_php() {
    need php
    # shellcheck disable=SC2016 # PHP's words
    printf '%s' '<?php exit(mail("joe@example.net, bob", $argv[1], $argv[2],
        ["From" => "Me <me@example.com>", "Bcc" => "hidden@example.net", "X-Long" => "one\r\n two"],
        "-frobot@example.net") ? 0 : 1);' >mail.php
    : >text
    local how
    for how in "$adapter -t -i" "$adapter -ti"; do
        submit php -n -d "sendmail_path=$how" mail.php "$long" "$body"
        queued "PHP, $how" me@example.com me@example.com \
            "joe@example.net bob@example.org hidden@example.net" <<EOF
Date: *
To: joe@example.net, bob
Subject: ${long/ ist/$'\n ist'}
From: Me <me@example.com>
X-Long: one two

$body
EOF
    done
}

# As its source has it: a pipe to the words of its setting, through the shell. Several receivers are
# several fields.
run_logwatch() {
    need perl
    printf '%s\n' "To: joe@example.net" "To: root" "From: root" "Auto-Submitted: auto-generated" \
        "Subject: Logwatch for host (Linux)" "Precedence: bulk" "MIME-Version: 1.0" \
        "Content-Transfer-Encoding: 8bit" 'Content-Type: text/plain; charset="UTF-8"' "" " " \
        " ##### Logwatch 7.7 #####" >text
    printf '%s' "$body" >>text
    sed '1s/^/Date: *\n/' text >stored
    local how
    for how in "$plain -ti" "$adapter -t"; do
        # shellcheck disable=SC2016 # Perl's words
        submit perl -e 'open(OUTFILE, "|$ARGV[0]") or die $!; print OUTFILE <STDIN>;
            close(OUTFILE) or die $?' "$how"
        queued "logwatch, $how" root@example.org root@example.org \
            "joe@example.net root@example.org" <stored
    done
}

"run_$caller"
exit $failed
