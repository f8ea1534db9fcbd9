// The nvram command's verbs.
#ifndef RC_NVRAM_VERBS_H
#define RC_NVRAM_VERBS_H

#include <span>
#include <string>
#include <string_view>

#include "libnvram/store.h"

namespace nvram {

inline constexpr int status_done = 0;
inline constexpr int status_no = 1;
inline constexpr int status_error = 2;

// One call of the command.
struct Call {
    const char* verb = "";
    std::span<char* const> words;  // what follows the verb and its options
    bool show_secrets = false;
    bool replace = false;
    bool json = false;
};

// Each returns the command's status and has said on standard error why it is status_error.
int get_verb(Store& store, const Call& call);
int set_verb(Store& store, const Call& call);
int unset_verb(Store& store, const Call& call);
int show_verb(Store& store, const Call& call);
int commit_verb(Store& store, const Call& call);
int load_verb(Store& store, const Call& call);
int default_verb(Store& store, const Call& call);
int export_verb(Store& store, const Call& call);
int import_verb(Store& store, const Call& call);
int diff_verb(Store& store, const Call& call);
int check_verb(Store& store, const Call& call);
int describe_verb(Store& store, const Call& call);
int keys_verb(Store& store, const Call& call);

// Says what the store could not do, and how to fix it where that is known. Returns status_error.
int store_error(const Store& store, const Call& call);

// Reads a file, or one of the store's own images by its name; says why when it cannot be read.
bool read_image_text(Store& store, const Call& call, std::string_view name, std::string& text);

// Prints one key=value line after a prefix such as "+ ", a secret's value as stars unless asked
// for.
void print_entry(const char* prefix, const Entry& entry, bool show_secrets);

}  // namespace nvram

#endif
