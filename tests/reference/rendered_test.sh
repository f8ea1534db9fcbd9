#!/bin/sh
# The manual pages as readers see them: no macro is left in the text, and the formatter has nothing to say.
#   rendered_test.sh FOLDER
# Status 77 (skipped) when there is no formatter.
failures=0
shown=$(mktemp) || exit 2
said=$(mktemp) || exit 2
trap 'rm -f "$shown" "$said"' EXIT

# The page on standard output, without emphasis, by each formatter that is there.
formatters=
command -v groff > /dev/null && formatters="$formatters groff"
command -v mandoc > /dev/null && formatters="$formatters mandoc"
[ "$formatters" ] || { echo 'skipped: there is no formatter of manual pages'; exit 77; }
render() {
    case $1 in
        groff) groff -Kutf8 -Tutf8 -P-c -P-b -P-u -P-o -mandoc -ww -rLL=100n "$2" ;;
        mandoc) mandoc -Tutf8 -Owidth=100 "$2" | sed 's/.\x08//g' ;;
    esac
}

# check NAME PAGE: prints what is wrong with it.
check() {
    for formatter in $formatters; do
        render "$formatter" "$2" > "$shown" 2> "$said" || { echo "$1: $formatter fails"; failures=$((failures + 1)); }
        [ -s "$shown" ] || { echo "$1: $formatter shows nothing"; failures=$((failures + 1)); }
        # A request of mdoc(7) in the text: ".Pa", or the macro's name between blanks.
        if grep -nE '(^|[^[:alnum:]_./])\.[A-Z][a-z]($|[^[:alnum:]_/])|(^| )(Ar|Cm|Ev|Fl|Nm|Op|Pa|Pq|Ql|Va|Xr) ' "$shown"; then
            echo "$1: $formatter shows a macro"
            failures=$((failures + 1))
        fi
        if [ -s "$said" ]; then
            cat "$said"
            echo "$1: $formatter warns"
            failures=$((failures + 1))
        fi
    done
}

for page in "$1"/*; do check "${page##*/}" "$page"; done
good=$failures

# A page with a stray macro is found.
broken=$(mktemp) || exit 2
printf '.Dd May 1, 2026\n.Dt X 1\n.Os\n.Sh NAME\n.Nm x\n.Nd y\n.Sh FILES\n.Bl -tag -width Ds\n.It Pa /tmp/a ,.Pa /tmp/b\nTwo.\n.El\n' > "$broken"
check broken "$broken" > /dev/null
rm -f "$broken"
[ "$failures" -gt "$good" ] || { echo 'a stray macro is not found'; exit 1; }

[ "$good" = 0 ] || exit 1
echo "ok: the manual pages, by$formatters"
