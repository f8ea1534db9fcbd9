#!/bin/sh
# Tests the runner of examples: it must pass a correct page, and fail for each kind of error.
here=$(cd "$(dirname "$0")" && pwd)
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/lab" "$folder/docs" "$folder/web"
page=$folder/README.md

run() {
    cat > "$page"
    sh "$here/examples.sh" "$page" "$folder" "$folder" > "$folder/said" 2>&1
}
# expect STATUS TEXT: runs the page on standard input.
expect() {
    run
    status=$?
    if [ "$status" != "$1" ] || ! grep -qF -- "$2" "$folder/said"; then
        echo "expected status $1 and \"$2\" of"
        sed 's/^/    /' "$page"
        echo "found status $status and"
        cat "$folder/said"
        exit 1
    fi
}

expect 0 'ok: 4 examples run, 0 not' << 'END'
    $ value=7; export value
    $ echo $value; echo two
    7
    two

    $ seq 5
    1
    ...
    5
    $ echo took 12 s
    took … s
END
expect 1 'it prints, with status 0' << 'END'
    $ echo one
    two
END
expect 1 'it prints, with status 0' << 'END'
    $ echo one
END
expect 1 'it prints, with status 0' << 'END'
    $ echo took 12 min
    took … s
END
expect 1 'a block without a command' << 'END'
    $ true

Text.

    true
END
expect 0 'not run: false    (it takes a year)' << 'END'
    $ true

<!-- not run: it takes a year -->

    $ false
    nothing

Text ends what the mark is about.

    $ true
END
expect 1 'it prints, with status 0' << 'END'
<!-- not run: it takes a year -->

    $ false

Text.

    $ echo one
END
expect 0 'not run: exit 77    (not permitted on this machine)' << 'END'
    $ true

<!-- needs namespaces -->

    $ exit 77
END
expect 1 'no example found' << 'END'
Text.
END
echo 'ok: the runner notices what it is there to notice'
