#!/bin/sh
# Makes the packages of a build and checks them: names, control fields, files, modes, owners, checksums, and that no
# path of the build machine is inside.
#   package.sh BUILD_DIR SOURCE_DIR router|workstation VERSION ARCHITECTURE PROCESSOR
build=$1 source=$2 component=$3 version=$4 architecture=$5 processor=$6
folder=$(mktemp -d) || exit 2
trap 'rm -rf "$folder"' EXIT
failures=0

expect() {
    [ "$2" = "$3" ] && return
    printf '%s: expected\n%s\nfound\n%s\n' "$1" "$2" "$3"
    failures=$((failures + 1))
}

umask 022
cpack --config "$build/CPackConfig.cmake" -B "$folder" > "$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
cd "$folder" || exit 2
package=rc-${component}_${version}_$architecture.deb
archive=rc-$component-$version-$processor.tar.gz
expect 'packages made' "$(printf '%s\n' "$archive" "$package" | LC_ALL=C sort)" \
    "$(find . -maxdepth 1 -name 'rc-*' | sed 's/..//' | LC_ALL=C sort)"
[ "$failures" = 0 ] || exit 1

# The control fields that dpkg-deb reads; the only other control file is the checksums.
dpkg-deb -I "$package" > information || exit 1
for field in "Package: rc-$component" "Version: $version" "Architecture: $architecture" 'Section: net' \
    'Priority: optional'; do
    grep -qxF " $field" information || { cat information; echo "missing: $field"; exit 1; }
done
for field in ' Description: ..' ' Maintainer: ..*@'; do
    grep -q "^$field" information || { cat information; echo "missing: $field"; exit 1; }
done
mkdir control package archive
dpkg-deb -e "$package" control && dpkg-deb -x "$package" package && tar -xzf "$archive" -C archive || exit 1
expect 'control files' 'control
md5sums' "$(find control -type f | sed 's/.*\///' | LC_ALL=C sort)"
(cd package && md5sum --check --strict --quiet ../control/md5sums) || failures=$((failures + 1))
expect 'files with a checksum' "$(cd package && find . -type f | sed 's/..//' | LC_ALL=C sort)" \
    "$(sed 's/^[0-9a-f]*  //' control/md5sums | LC_ALL=C sort)"

# Modes, owners and names; of the folders and of the files.
listing() { awk '{ print $1, $2, $6 }' | sed 's/ \.\// /; s/\/$//' | grep -v ' $' | LC_ALL=C sort -k 3; }
dpkg-deb -c "$package" | listing > in_package
tar -tvzf "$archive" | listing > in_archive
expect 'the archive, as the package' "$(grep ^- in_package)" "$(grep ^- in_archive)"
expect 'folders with other rights' '' "$(grep ^d in_package in_archive | grep -v ':drwxr-xr-x root/root ')"
case $component in
router)
    expect 'content' '-rw-r--r-- root/root usr/lib/libnvram.so
-rwxr-xr-x root/root usr/sbin/nvram
-rwxr-xr-x root/root usr/sbin/rc
-rwxr-xr-x root/root usr/sbin/rc-bundle' "$(grep ^- in_package)"
    # The newest interface of the C library that is needed determines the required version.
    # shellcheck disable=SC2046 # the lines are words on purpose
    newest=$(readelf -V $(find package -type f) | grep -o 'GLIBC_[0-9.]*' | sort -uV | tail -n 1 | sed 's/.*_//')
    grep -qxF " Depends: libc6 (>= $newest)" information || { cat information; echo "needs $newest"; exit 1; }
    ;;
workstation)
    expect 'programs' '-rwxr-xr-x root/root usr/bin/rcplan' "$(grep '^-..x' in_package)"
    expect 'what is neither program nor documentation' '' "$(grep -vE '^d|usr/bin/rcplan$' in_package |
        grep -vE '^-rw-r--r-- root/root usr/share/(man/man[158]/|doc/rc/|bash-completion/completions/(rc|nvram|rcplan)\.bash$)')"
    for file in man/man1/rcplan.1 man/man5/nvram-settings.5 man/man8/nvram.8 man/man8/rc.8 doc/rc/settings.md \
        doc/rc/porting.md; do
        [ -s "package/usr/share/$file" ] || { echo "missing: $file"; failures=$((failures + 1)); }
    done
    grep -q '^ Depends: .*libc6 (>= ' information || { cat information; echo 'no C library needed?'; exit 1; }
    ;;
esac
expect 'symbols left in' '' "$(find package -type f -perm -100 -exec sh -c 'readelf -S "$1" | grep -o "\.symtab"' - '{}' \;)"
expect 'names of the machine that built it' '' "$(grep -rlF -e "$source" -e "$build" package archive control)"
[ "$failures" = 0 ] || exit 1
echo "ok: $package, $archive"
