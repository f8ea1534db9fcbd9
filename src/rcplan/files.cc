// Whole files, and messages on standard error.

#include "rcplan/files.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <fstream>
#include <iostream>
#include <memory>
#include <string_view>

#include "libnvram/printable.h"

namespace {

// Text for a terminal; the bytes in kept stay.
std::string printable(std::string_view text, std::string_view kept) {
    std::string out;
    while (!text.empty()) {
        const std::string_view part = text.substr(0, text.find_first_of(kept));
        nvram::append_printable(out, part);
        text.remove_prefix(part.size());
        if (text.empty()) break;
        out += text.front();
        text.remove_prefix(1);
    }
    return out;
}

}  // namespace

std::optional<std::string> read_file(const std::string& path) {
    std::string text;
    const std::unique_ptr<FILE, int (*)(FILE*)> file(
        path == "-" ? fdopen(0, "r") : fopen(path.c_str(), "r"), fclose);
    char piece[4096];
    size_t count = 0;
    while (file && (count = fread(piece, 1, sizeof piece, file.get())) > 0)
        text.append(piece, count);
    if (file && !ferror(file.get())) return text;
    complain(path + ": " + strerror(errno));
    return std::nullopt;
}

bool write_file(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (file.flush()) return true;
    complain(path + ": " + strerror(errno));
    return false;
}

void print(const std::string& text) {
    std::cout << printable(text, "\n\033");
}

void complain(const std::string& what) {
    std::cerr << "rcplan: " << printable(what, "\n") << "\n";
}
