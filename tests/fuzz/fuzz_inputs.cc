// Makes the fuzzers' initial inputs: fuzz_inputs OUT FACTORY SEPARATORS CASES writes
// OUT/words.dict and a folder of seeds for each target.

#include <stdio.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

#include "case_text.h"
#include "libnvram/generation.h"
#include "plan/router/actions.h"
#include "plan/router/case.h"
#include "plan/router/case_file.h"
#include "rc/apps.h"
#include "router_outputs.h"
#include "settings/forms.h"
#include "settings/table.h"

namespace {

namespace fs = std::filesystem;

// A longer seed is slow and shows nothing that shorter ones do not show.
constexpr size_t longest_seed = 12000;

std::string read_file(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) throw std::runtime_error("cannot read " + path.string());
    return text.str();
}

void write_file(const fs::path& path, std::string_view text) {
    std::ofstream stream(path, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + path.string());
}

// Seeds of one target, without duplicates, numbered.
class Seeds {
  public:
    explicit Seeds(fs::path folder) : folder_(std::move(folder)) {
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void add(const std::string& text) {
        if (text.size() > longest_seed || !known_.insert(text).second) return;
        char name[16];
        snprintf(name, sizeof name, "%05zu", known_.size());
        write_file(folder_ / name, text);
    }
    size_t count() const { return known_.size(); }

  private:
    fs::path folder_;
    std::set<std::string> known_;
};

std::string dictionary_entry(std::string_view word) {
    std::string entry = "\"";
    for (const char c : word) {
        char escaped[8];
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = byte >= 0x20 && byte < 0x7f && c != '"' && c != '\\';
        snprintf(escaped, sizeof escaped, plain ? "%c" : "\\x%02x", byte);
        entry += escaped;
    }
    return entry + "\"\n";
}

// Every key, every word of a choice and every application.
std::string words() {
    std::set<std::string> all;
    for (const nvram::SettingGroup& group : nvram::setting_groups())
        for (const nvram::KnownSetting& known : group.settings) {
            all.insert(known.key);
            for (const std::string_view word : nvram::words_of(known.choices))
                all.insert(std::string(word));
            if (!known.record) continue;
            for (const nvram::Field& field : known.record->fields)
                for (const std::string_view word : nvram::words_of(field.choices))
                    all.insert(std::string(word));
        }
    for (const rc_app* list : {rc_apps, rc_services})
        for (const rc_app* app = list; app->name; app++) all.insert(app->name);
    all.erase("");
    std::string text;
    for (const std::string& word : all) text += dictionary_entry(word);
    return text;
}

std::string calls(const Settings& settings) {
    std::string text = "l\n";
    for (const auto& [key, value] : settings)
        if (value.find('\n') == std::string::npos) text += "s" + key + "=" + value + "\n";
    return text + "e\nc\nl\nda7\nl\n";
}

std::string transcript_of(const Case& stated) {
    Recording played;
    played.world = case_world(stated);
    play(played, stated.words);
    return played.transcript.text();
}

// Checks that the written text is complete: rc does the same with it as with the case.
bool plays_alike(const Case& stated) {
    const auto again = parse_case(case_text(stated));
    const auto* written = std::get_if<Case>(&again);
    return written && transcript_of(*written) == transcript_of(stated);
}

struct AllSeeds {
    Seeds rc, image, check, lists, store, found;
    explicit AllSeeds(const fs::path& out)
        : rc(out / "rc_fuzz"),
          image(out / "image_fuzz"),
          check(out / "check_fuzz"),
          lists(out / "lists_fuzz"),
          store(out / "store_fuzz"),
          found(out / "found_fuzz") {
        for (const std::string_view text : router_outputs()) found.add(std::string(text));
    }

    void add(const Case& stated) {
        rc.add(case_text(stated));
        const std::string text = settings_image(stated.settings);
        image.add(text);
        image.add(nvram::encode({.number = 1, .image = text}));
        check.add(text);
        store.add(calls(stated.settings));
        for (const auto& [key, value] : stated.settings) lists.add(value);
        for (const auto& [path, content] : stated.world.files) {
            const bool flash = path.starts_with("/dev/");
            // The board's data begin with the PIN.
            constexpr size_t pin_offset = 0x2FF70;
            if (!flash) lists.add(*content);
            if (flash && content->size() > pin_offset) lists.add(content->substr(pin_offset));
        }
    }
};

// Every action on a router with factory settings.
void add_actions(AllSeeds& seeds, const Settings& factory) {
    std::vector<std::vector<std::string>> all = all_actions();
    for (const char* action : {"start", "stop", "restart", "create"}) {
        all.push_back({"rc", action});
        all.push_back({"rc", "service", action});
    }
    for (const std::vector<std::string>& words : all) {
        Case stated;
        stated.title = "an action on a router with factory settings";
        stated.words = words;
        stated.power_on = words[1] == "init";
        if (!stated.power_on) stated.settings = factory;
        stated.factory = stated.power_on ? std::optional(factory) : std::nullopt;
        seeds.add(stated);
    }
}

void make(const fs::path& out, const fs::path& factory, const fs::path& separators,
          const fs::path& folder) {
    const std::vector<std::string> cases = case_paths(folder);
    AllSeeds seeds(out);
    write_file(out / "words.dict", read_file(separators) + words());
    add_actions(seeds, read_settings(read_file(factory)));
    for (const std::string& path : cases) {
        const auto loaded = load_case(path);
        if (const auto* error = std::get_if<CaseError>(&loaded))
            throw std::runtime_error(error->message);
        const auto* stated = std::get_if<Case>(&loaded);
        if (!plays_alike(*stated)) throw std::runtime_error("no seed: " + path);
        seeds.add(*stated);
    }
    std::cout << cases.size() << " cases; seeds: " << seeds.rc.count() << " for rc, "
              << seeds.image.count() << " for images, " << seeds.check.count() << " for the check, "
              << seeds.lists.count() << " for lists, " << seeds.store.count() << " for the store\n";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::cerr << "usage: fuzz_inputs OUT FACTORY SEPARATORS CASES\n";
        return 2;
    }
    try {
        make(argv[1], argv[2], argv[3], argv[4]);
    } catch (const std::exception& failure) {
        std::cerr << "fuzz_inputs: " << failure.what() << "\n";
        return 1;
    }
    return 0;
}
