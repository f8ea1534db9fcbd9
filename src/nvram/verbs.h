// The nvram command's verbs.
#ifndef RC_NVRAM_VERBS_H
#define RC_NVRAM_VERBS_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "libnvram/store.h"

namespace nvram {

inline constexpr int status_done = 0;
inline constexpr int status_no = 1;
inline constexpr int status_error = 2;

// One call of the command.
struct Call {
    const char* verb = "";
    std::string_view
        root;  // the folder that stands for the router's /; empty for the router itself
    std::span<char* const> words;  // the words after the verb and its options
    bool show_secrets = false;
    bool replace = false;
    bool json = false;
    bool check = false;
    bool previous = false;
    bool dry_run = false;
    bool force = false;
    bool commit = false;
    bool shapes = false;
    bool end = false;
    bool files = false;
    // --seconds or --probe was given.
    bool timed = false;
    unsigned seconds = 120;
    std::vector<const char*> probes = {};
};

// Each returns the command's exit status; before status_error it prints the reason on standard
// error.
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
int previous_verb(Store& store, const Call& call);
int mask_verb(Store& store, const Call& call);
int generations_verb(Store& store, const Call& call);
int bundle_verb(Store& store, const Call& call);
int apply_verb(Store& store, const Call& call);
int try_verb(Store& store, const Call& call);
int confirm_verb(Store& store, const Call& call);
int undo_verb(Store& store, const Call& call);
int trial_verb(Store& store, const Call& call);
int check_verb(Store& store, const Call& call);
int describe_verb(Store& store, const Call& call);
int keys_verb(Store& store, const Call& call);

// Prints what the store could not do and, where there is a fix, the fix. Returns status_error.
int store_error(const Store& store, const Call& call);

// What check finds in settings.
struct Verdict {
    // The errors as text; "" if there are none.
    std::string errors;
    // All findings as a JSON array of the objects that check --json prints.
    std::string findings;
};
Verdict verdict_on(const Image& settings);

// For commit and import --check: a Judge's function that refuses settings with errors. Puts the
// errors as text into the std::string that is its context.
bool accept_without_errors(const Image& image, void* text);

// The call's judge, which keeps the errors that it finds: with --check the one above.
class CallsJudge {
  public:
    explicit CallsJudge(const Call& call);
    CallsJudge(const CallsJudge&) = delete;
    CallsJudge& operator=(const CallsJudge&) = delete;

    // nullptr without --check.
    const Judge* get() const { return judge_.accepts != nullptr ? &judge_ : nullptr; }
    const std::string& errors() const { return errors_; }

  private:
    std::string errors_;
    Judge judge_;
};

// After an attempt to store: what it could not do, or the errors that its judge found. Returns the
// exit status.
int stored(bool done, const Store& store, const Call& call, const CallsJudge& judge);

// Reads settings that a user wrote, from a file or standard input as "-". False after a message for
// each line that is not KEY=VALUE, or one that says why the file cannot be read.
bool read_settings_file(const Call& call, const char* path, Image& image);

// Reads a file, standard input as "-", or one of the store's own images by its name. False after a
// message with the reason.
bool read_image_text(Store& store, const Call& call, std::string_view name, std::string& text);

// What stands for a secret's value, and whether it stands for this one.
inline constexpr std::string_view hidden_value = "********";
bool is_hidden(const Entry& entry);

// Prints one key=value line after a prefix such as "+ "; a secret's value as asterisks unless
// show_secrets.
void print_entry(const char* prefix, const Entry& entry, bool show_secrets);

// Reports on standard error when the store waits this long for another process, and goes on
// waiting.
void report_lock_wait(const char* verb, unsigned seconds);

}  // namespace nvram

#endif
