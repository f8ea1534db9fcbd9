// rcplan: what rc would do, told before it does it.

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <fstream>
#include <iostream>
#include <memory>

#include "nvram/image.h"
#include "plan/case.h"

namespace {

constexpr int done = 0;
constexpr int differs = 1;
constexpr int wrong_use = 2;

constexpr const char* usage =
    "Usage: rcplan run [--settings FILE] [--set K=V ...] [--] WORDS...\n"
    "       rcplan check [--update] CASE...\n"
    "       rcplan --help | --version\n";

constexpr const char* help =
    "\n"
    "Shows what the router's rc would do, without doing it.\n"
    "\n"
    "  run WORDS       prints every command, pause, file and setting of `rc WORDS`, in order\n"
    "    --settings FILE   the router's settings: a text image, one key=value a line\n"
    "    --set K=V         one setting more, or another value for one of the file's\n"
    "  check CASE...   plays case files and compares the transcripts\n"
    "    --update          rewrites the expectations with what came out; read that diff\n"
    "\n"
    "Exit status: 0 done, 1 a case differs, 2 wrong use or an unreadable file.\n";

int wrong(const std::string& what) {
    std::cerr << "rcplan: " << what << "\n" << usage;
    return wrong_use;
}

std::optional<std::string> read_file(const std::string& path) {
    std::string text;
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path.c_str(), "r"), fclose);
    char piece[4096];
    size_t count = 0;
    while (file && (count = fread(piece, 1, sizeof piece, file.get())) > 0)
        text.append(piece, count);
    if (file && !ferror(file.get())) return text;
    std::cerr << "rcplan: " << path << ": " << strerror(errno) << "\n";
    return std::nullopt;
}

int run(const std::vector<std::string>& arguments) {
    Recording played;
    Settings settings;
    size_t at = 0;
    for (; at < arguments.size() && arguments[at].starts_with("--"); at++) {
        const std::string& option = arguments[at];
        if (option == "--") {
            at++;
            break;
        }
        if (at + 1 == arguments.size()) return wrong(option + " needs a value");
        const std::string& value = arguments[++at];
        if (option == "--settings") {
            const std::optional<std::string> text = read_file(value);
            if (!text) return wrong_use;
            settings = read_settings(*text);
        } else if (option == "--set") {
            const auto assignment = split_assignment(value);
            if (!assignment || !nvram::valid_key(assignment->first))
                return wrong("--set " + value + ": a setting is written KEY=VALUE");
            settings[assignment->first] = assignment->second;
        } else {
            return wrong("unknown option " + option);
        }
    }
    if (at == arguments.size())
        return wrong("which action of rc? (for example: rcplan run lan start)");

    std::vector<std::string> words = {"rc"};
    words.insert(words.end(), arguments.begin() + static_cast<ptrdiff_t>(at), arguments.end());
    played.world.put(factory_image, settings_image(settings));
    if (words[1] != "init") played.world.put(working_copy, settings_image(settings));
    play(played, words);
    std::cout << played.transcript.text() << played.transcript.summary();
    return done;
}

int check_one(const std::string& path, bool update) {
    const std::optional<std::string> text = read_file(path);
    if (!text) return wrong_use;
    const auto parsed = parse_case(*text);
    if (const auto* error = std::get_if<CaseError>(&parsed)) {
        std::cerr << "rcplan: " << path << ": " << error->message << "\n";
        return wrong_use;
    }
    const Case& stated = std::get<Case>(parsed);
    Recording played;
    played.world = case_world(stated);
    play(played, stated.words);

    const std::string actual = played.transcript.text();
    const std::string difference = transcript_difference(stated.expected, actual);
    if (difference.empty()) {
        std::cout << "ok       " << path << "\n";
        return done;
    }
    if (update) {
        std::ofstream file(path, std::ios::binary);
        file << stated.head << actual;
        if (!file.flush()) {
            std::cerr << "rcplan: " << path << ": cannot be written\n";
            return wrong_use;
        }
        std::cout << "updated  " << path << "\n";
        return done;
    }
    std::cout << "DIFFERS  " << path << ": " << stated.title << "\n"
              << "('-' is expected and missing, '+' came unexpected)\n"
              << difference;
    return differs;
}

int check(std::vector<std::string> paths) {
    const bool update = !paths.empty() && paths[0] == "--update";
    if (update) paths.erase(paths.begin());
    if (paths.empty()) return wrong("which case files?");
    int status = done;
    for (const std::string& path : paths) status = std::max(status, check_one(path, update));
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty()) return wrong("what shall be done?");
    const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
    if (arguments[0] == "run") return run(rest);
    if (arguments[0] == "check") return check(rest);
    if (arguments[0] == "--version") {
        std::cout << "rcplan " RC_VERSION "\n";
        return done;
    }
    if (arguments[0] == "--help") {
        std::cout << usage << help;
        return done;
    }
    return wrong("unknown command " + arguments[0]);
}
