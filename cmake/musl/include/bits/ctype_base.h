// The classes of characters, in place of the C++ library's own file for glibc, which takes them from names in glibc's
// <ctype.h>. <locale> refers to them; none of our programs uses a locale, so the numbers only have to differ.
#ifndef RC_MUSL_CTYPE_BASE_H
#define RC_MUSL_CTYPE_BASE_H

namespace std {

struct ctype_base {
    typedef const int* __to_type;
    typedef unsigned short mask;
    static const mask upper = 1 << 0;
    static const mask lower = 1 << 1;
    static const mask alpha = 1 << 2;
    static const mask digit = 1 << 3;
    static const mask xdigit = 1 << 4;
    static const mask space = 1 << 5;
    static const mask print = 1 << 6;
    static const mask cntrl = 1 << 7;
    static const mask punct = 1 << 8;
    static const mask blank = 1 << 9;
    static const mask alnum = alpha | digit;
    static const mask graph = alnum | punct;
};

}  // namespace std

#endif
