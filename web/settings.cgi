#!/bin/sh
# The settings page, a CGI program (RFC 3875). Without a query it is the page; settings.cgi?WORD runs nvram, whose lines
# are the answer, and "status N" is the last one:
#   show, trial     the settings, secrets as asterisks; what is on trial
#   preview         KEY=VALUE lines: what check says of them, and what they restart
#   try=SECONDS     the same on trial
#   keep, undo      the trial's token: confirms it; ends it
# The body of a request goes to nvram's standard input as it is. None of it becomes a word of a command.
set -u
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export PATH
# In bytes: more than all settings of a router with full lists.
largest_request=65536

# head STATUS TYPE: the answer's head. The page loads nothing from elsewhere, and no other page shows it in a frame.
head() {
    printf 'Status: %s\r\nContent-Type: %s; charset=utf-8\r\nCache-Control: no-store\r\n' "$1" "$2"
    printf 'X-Content-Type-Options: nosniff\r\nReferrer-Policy: same-origin\r\n'
    printf "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    printf "base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n\r\n"
}

refuse() {
    head "$1" text/plain
    echo "$2"
    exit
}

# A browser lets no foreign page send this type without asking first, and nothing here says yes. The request also has to
# come from a page of this server, named as the browser sees it; a name with dots is refused, because who owns it may
# let it point to the router. Servers that do not pass Origin on pass Referer.
check_sender() {
    case ${CONTENT_TYPE-} in
    text/x-settings*) ;;
    *) refuse '403 Forbidden' 'The request is not of the type text/x-settings.' ;;
    esac
    case ${HTTP_HOST-} in
    '') refuse '403 Forbidden' 'The request has no Host.' ;;
    *[!0-9.:]*.* | *.*[!0-9.:]*) refuse '403 Forbidden' 'Open this page by the address of the router.' ;;
    esac
    sender=${HTTP_ORIGIN:-${HTTP_REFERER-}}
    case $sender in
    "http://$HTTP_HOST" | "http://$HTTP_HOST"/* | "https://$HTTP_HOST" | "https://$HTTP_HOST"/*) ;;
    *) refuse '403 Forbidden' 'The request comes from another page.' ;;
    esac
}

check_request() {
    [ "${REQUEST_METHOD-}" = POST ] || refuse '405 Method Not Allowed' 'This needs POST.'
    check_sender
    case ${CONTENT_LENGTH:-0} in
    *[!0-9]* | ??????*) refuse '413 Content Too Large' 'The request is too long.' ;;
    esac
    [ "${CONTENT_LENGTH:-0}" -le "$largest_request" ] || refuse '413 Content Too Large' 'The request is too long.'
}

# The connection stays open after the request, so its end is its length.
request() {
    dd bs=1 count="${CONTENT_LENGTH:-0}" 2>/dev/null
}

# run WORD...: nvram with these words; the request is its standard input.
run() {
    head '200 OK' text/plain
    request | nvram "$@" 2>&1
    echo "status $?"
}

case ${QUERY_STRING-} in
'')
    head '200 OK' text/html
    # A CGI program's folder is the current one (RFC 3875, section 7.2).
    cat settings.html
    ;;
show) run show --json ;;
trial) run trial --json ;;
preview | try=[1-9]*[0-9] | keep | undo)
    check_request
    case $QUERY_STRING in
    preview) run apply --dry-run --json - ;;
    try=*) run try --json --seconds "${QUERY_STRING#try=}" - ;;
    keep) run confirm - ;;
    undo) run undo ;;
    esac
    ;;
*) refuse '404 Not Found' 'There is no such request.' ;;
esac
