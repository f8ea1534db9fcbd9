// make_bundle IMAGE FILE: the archive of a router with these settings that is as rc has made it.

#include <archive.h>
#include <archive_entry.h>

#include <fstream>
#include <iostream>
#include <sstream>

#include "made_bundle.h"

int main(int count, char** words) {
    if (count != 3) return 2;
    std::ostringstream image;
    image << std::ifstream(words[1]).rdbuf();
    archive* const writer = archive_write_new();
    archive_write_set_format_ustar(writer);
    archive_write_add_filter_gzip(writer);
    bool done = archive_write_open_filename(writer, words[2]) == ARCHIVE_OK;
    for (const auto& [name, content] : made_bundle(read_settings(image.str())).members) {
        archive_entry* const entry = archive_entry_new();
        archive_entry_set_pathname(entry, ("rc-bundle/" + name).c_str());
        archive_entry_set_filetype(entry, AE_IFREG);
        archive_entry_set_perm(entry, 0600);
        archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
        done = done && archive_write_header(writer, entry) == ARCHIVE_OK &&
               archive_write_data(writer, content.data(), content.size()) ==
                   static_cast<la_ssize_t>(content.size());
        archive_entry_free(entry);
    }
    done = archive_write_close(writer) == ARCHIVE_OK && done;
    archive_write_free(writer);
    if (!done) std::cerr << words[2] << " cannot be written\n";
    return done ? 0 : 1;
}
