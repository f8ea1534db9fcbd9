#!/bin/sh
# Fails if an object of the handlers calls the system directly: each undefined symbol of an object must be in another
# object, the platform or the settings library, or be a pure function of the C library.
#   seam.sh NM OBJECT...
nm=$1
shift

# Functions without system calls: text, memory, arithmetic, and stdio on a stream that the platform opened. The
# compiler's 64-bit division on a 32-bit processor is not allowed, because it adds a kilobyte to rc; lldiv(3) does not.
pure='abort free malloc realloc strdup memchr memcmp memcpy memmove memset strlen strcmp strncmp strchr strchrnul strrchr strstr
strpbrk strcasecmp strncasecmp lldiv strtol strtoul strtoll strtoull tolower toupper isxdigit isdigit isspace
snprintf vsnprintf sscanf fprintf vfprintf fputs fputc fgets fread fwrite fseek fflush fclose fgetc ferror clearerr
inet_aton inet_network inet_ntop inet_addr htonl ntohl
__errno_location __ctype_b_loc __ctype_tolower_loc __isoc99_sscanf __isoc23_strtoll __isoc23_sscanf __stack_chk_fail
_GLOBAL_OFFSET_TABLE_ _gp_disp __gnu_local_gp __dso_handle __gxx_personality_v0 DW.ref.__gxx_personality_v0'
# The settings library.
pure="$pure nvram_zel_load nvram_zel_get nvram_zel_safe_get nvram_zel_set nvram_zel_commit __nvram_get_fun"

defined=$(mktemp) && undefined=$(mktemp) || exit 2
trap 'rm -f "$defined" "$undefined"' EXIT
"$nm" --defined-only -g "$@" 2>/dev/null | awk 'NF == 3 { print $3 }' | sort -u > "$defined"
"$nm" -u -A "$@" | awk '{ print $NF, $1 }' | sort -u > "$undefined"
[ -s "$undefined" ] || { echo "no undefined symbols found: is $nm right for these objects?"; exit 2; }

bad=$(awk -v pure="$pure" '
    BEGIN { n = split(pure, list, /[ \n]+/); for (i = 1; i <= n; i++) known[list[i]] = 1 }
    FNR == NR { known[$1] = 1; next }
    $1 in known { next }
    $1 ~ /^_ZN8platform/ { next }                                   # namespace platform
    $1 ~ /^_ZN(K)?(St|9__gnu_cxx|S)/ || $1 ~ /^_ZS/ || $1 ~ /^_Z(nw|na|dl|da)/ { next }  # the C++ library
    $1 ~ /^_ZTVN10__cxxabiv1/ { next }                              # type tables of the sanitizers
    $1 ~ /^__(asan|ubsan|lsan|sanitizer|odr_asan)/ { next }
    { print "  " $1 "  in " $2 }
' "$defined" "$undefined")
if [ -n "$bad" ]; then
    echo "These calls go past core/platform.h:"
    echo "$bad"
    exit 1
fi
echo "ok: $(wc -l < "$undefined") undefined symbols, none past the seam"
