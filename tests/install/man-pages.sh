#!/bin/sh
# The man pages keep up with the programs: every command and option that
# `calvorinctl --help` lists has its entry in calvorinctl.1, every option
# of `calvorin --help` (once the application exists) is in calvorin.1, and
# both pages format without warnings.
# Arguments: the build folder, the source folder.
set -u

bin=$(cd "$1/bin" && pwd)
pages="$2/data/man"
status=0

fail() {
    echo "man-pages: $*" >&2
    status=1
}

for page in calvorin calvorinctl; do
    warnings=$(groff -man -ww -z -Tutf8 "$pages/$page.1" 2>&1)
    [ -z "$warnings" ] || fail "$page.1 does not format cleanly: $warnings"
done

# The page as text, with roff's hyphen escapes turned into plain hyphens.
plain() {
    sed -e 's/\\-/-/g' -e 's/\\f[BIRP]//g' "$pages/$1.1"
}

# Every command of the help: the first word of each line under "Commands:",
# named as a tagged paragraph (.TP, then .B/.BI/.BR with the command first).
help=$("$bin/calvorinctl" --help) || fail "calvorinctl --help failed"
commands=$(echo "$help" | sed -n '/^Commands:/,$p' | sed -n 's/^  \([a-z][a-z-]*\).*/\1/p')
[ -n "$commands" ] || fail "calvorinctl --help lists no commands"
for command in $commands; do
    plain calvorinctl | grep -A1 '^\.TP' | grep -Eq "^\.B[IR]? +\"?$command( |\"|\$)" ||
        fail "calvorinctl.1 has no entry for the command $command"
done
# Every option of the help, under OPTIONS.
options=$(echo "$help" | sed -n '/^Options:/,/^Commands:/p' | grep -o -- '--*[a-z][a-z-]*' | sort -u)
[ -n "$options" ] || fail "calvorinctl --help lists no options"
for option in $options; do
    plain calvorinctl | sed -n '/^\.SH OPTIONS/,/^\.SH COMMANDS/p' | grep -q -- "$option" ||
        fail "calvorinctl.1 does not describe the option $option"
done

if [ -x "$bin/calvorin" ]; then
    app_help=$(QT_QPA_PLATFORM=offscreen "$bin/calvorin" --help 2>&1) || fail "calvorin --help failed"
    for option in $(echo "$app_help" | grep -o -- ' --*[a-z][a-z-]*' | sort -u); do
        plain calvorin | sed -n '/^\.SH OPTIONS/,/^\.SH /p' | grep -q -- "$option" ||
            fail "calvorin.1 does not describe the option $option"
    done
else
    echo "man-pages: calvorin is not built yet; only calvorinctl was compared with its page"
fi

[ "$status" -eq 0 ] && echo "man-pages: ok"
exit "$status"
