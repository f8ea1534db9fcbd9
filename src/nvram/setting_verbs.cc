// nvram get, set, unset, show, commit, load and default: the verbs on the working copy and flash.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "libnvram/printable.h"
#include "libnvram/secret.h"
#include "nvram/json.h"
#include "nvram/verbs.h"

namespace nvram {

// What mends a working copy that cannot be committed or changed.
static constexpr const char* working_fix =
    "nothing was changed; 'nvram load' restores the committed settings";

static void print_bad_lines(const Store& store, const Call& call) {
    const char* const path = store.failed_path().c_str();
    for (const BadLine& line : store.bad_lines())
        std::fprintf(stderr, "nvram: %s: %s: line %u %s\n", call.verb, path, line.number,
                     line.reason);
    std::fprintf(stderr, "nvram: %s: %s: %s, or correct the lines\n", call.verb, path, working_fix);
}

int store_error(const Store& store, const Call& call) {
    const int reason = errno;
    const bool working = store.failed_path() == store.places().working;
    if (reason == EBADMSG && working) {
        print_bad_lines(store, call);
        return status_error;
    }
    const char* const path = store.failed_path().c_str();
    std::fprintf(stderr, "nvram: %s: ", call.verb);
    if (reason == ENOENT && working) {
        std::fprintf(stderr, "%s: no working copy; run 'nvram load' first\n", path);
    } else if (reason == ENODATA) {
        std::fprintf(stderr, "%s: has no settings; %s\n", path, working_fix);
    } else if (reason == ENXIO || reason == EISDIR) {
        std::fprintf(stderr, "%s: not a regular file; remove it\n", path);
    } else if (reason == EIO && store.failed_path().starts_with(store.places().flash + ".")) {
        std::fprintf(stderr, "%s: %s; try again; if it stays so, remove the file\n", path,
                     std::strerror(reason));
    } else if (reason == EBUSY) {
        std::fputs("a change is on trial; first 'nvram confirm TOKEN' or 'nvram undo'\n", stderr);
        return status_no;
    } else if (store.in_flash()) {
        std::fprintf(stderr,
                     "%s: %s; the new settings are in flash, but a power cut may bring back the "
                     "previous ones; commit again\n",
                     path, std::strerror(reason));
    } else if (reason == E2BIG || reason == EFBIG) {
        std::fprintf(stderr,
                     "%s: larger than the limit of 1048576 bytes; unset settings you do not need\n",
                     path);
    } else if (reason == EBADMSG) {
        std::fprintf(
            stderr,
            "%s.a, %s.b: both damaged; run 'nvram default' to restore the factory settings\n", path,
            path);
    } else {
        std::fprintf(stderr, "%s: %s\n", path, std::strerror(reason));
    }
    return status_error;
}

bool is_hidden(const Entry& entry) {
    return !entry.value.empty() && is_secret(entry.key);
}

void print_entry(const char* prefix, const Entry& entry, bool show_secrets) {
    std::string line = prefix;
    line += entry.key;
    line += '=';
    if (!show_secrets && is_hidden(entry)) {
        line += hidden_value;
    } else {
        append_escaped(line, entry.value);
    }
    std::puts(printable(line).c_str());
}

static bool check_key(const Call& call, std::string_view key) {
    if (valid_key(key)) return true;
    std::fprintf(stderr, "nvram: %s: '%s' is not a valid key; use 1 to 127 of A-Z a-z 0-9 _ - .\n",
                 call.verb, printable(key).c_str());
    return false;
}

int get_verb(Store& store, const Call& call) {
    const std::string_view key = call.words[0];
    if (!check_key(call, key)) return status_error;
    const Image* const image = store.working();
    if (image == nullptr) return store_error(store, call);
    const std::optional<std::string_view> value = image->get(key);
    if (!value) return status_no;
    std::puts(value->data());
    return status_done;
}

// Each word is KEY=VALUE, or the KEY of a setting to remove.
static int change_settings(Store& store, const Call& call, bool with_values) {
    std::vector<Entry> changes;
    for (const std::string_view word : call.words) {
        Entry entry{word, no_value};
        if (with_values) {
            const std::size_t equals = word.find('=');
            if (equals == std::string_view::npos) {
                std::fprintf(stderr, "nvram: set: '%s' is not KEY=VALUE\n",
                             printable(word).c_str());
                return status_error;
            }
            entry = {word.substr(0, equals), word.substr(equals + 1)};
        }
        if (!check_key(call, entry.key)) return status_error;
        if (entry.value.size() > value_limit) {
            std::fprintf(stderr, "nvram: set: %.*s: value has %zu bytes; the limit is 65536\n",
                         static_cast<int>(entry.key.size()), entry.key.data(), entry.value.size());
            return status_error;
        }
        changes.push_back(entry);
    }
    return store.change(changes) ? status_done : store_error(store, call);
}

int set_verb(Store& store, const Call& call) {
    return change_settings(store, call, true);
}

int unset_verb(Store& store, const Call& call) {
    return change_settings(store, call, false);
}

int show_verb(Store& store, const Call& call) {
    const Image* const image = store.working();
    if (image == nullptr) return store_error(store, call);
    const std::string_view prefix = call.words.empty() ? "" : call.words[0];
    bool any = prefix.empty();
    std::string object = "{";
    for (const Entry& entry : image->entries()) {
        if (!entry.key.starts_with(prefix)) continue;
        if (call.json) {
            append_json_name(object, entry.key);
            append_json(object,
                        call.show_secrets || !is_hidden(entry) ? entry.value : hidden_value);
        } else {
            print_entry("", entry, call.show_secrets);
        }
        any = true;
    }
    if (call.json) std::puts((object + "}").c_str());
    return any ? status_done : status_no;
}

CallsJudge::CallsJudge(const Call& call) : judge_{.accepts = nullptr, .context = &errors_} {
#if RC_NVRAM_TABLE
    if (call.check) judge_.accepts = accept_without_errors;
#else
    static_cast<void>(call);
#endif
}

int stored(bool done, const Store& store, const Call& call, const CallsJudge& judge) {
    if (done) return status_done;
    if (errno != ECANCELED) return store_error(store, call);
    // After the lock's release, since whoever reads this may take its time.
    std::fputs(judge.errors().c_str(), stdout);
    std::fprintf(stderr, "nvram: %s: the settings have errors; nothing was changed\n", call.verb);
    return status_no;
}

int commit_verb(Store& store, const Call& call) {
    const CallsJudge judge(call);
    return stored(store.commit(judge.get()), store, call, judge);
}

int load_verb(Store& store, const Call& call) {
    const bool done = call.previous ? store.load_previous() : store.load();
    return done ? status_done : store_error(store, call);
}

int default_verb(Store& store, const Call& call) {
    bool kept_flash = false;
    if (!store.restore_factory(&kept_flash)) return store_error(store, call);
    if (kept_flash)
        std::fputs(
            "nvram: default: there was no working copy, so a load has failed: the working copy has the\n"
            "factory settings until the next boot or 'nvram load'; the settings in flash are unchanged\n"
            "(run 'nvram default' again to replace them too)\n",
            stderr);
    return status_done;
}

}  // namespace nvram
