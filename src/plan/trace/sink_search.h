// Finds where the texts of settings end up: command lines, scripts, crontabs, daemons' files. It
// plays rc with a marked value instead of each setting and of each part of its value.
#ifndef RC_PLAN_TRACE_SINK_SEARCH_H
#define RC_PLAN_TRACE_SINK_SEARCH_H

#include <compare>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/plan.h"
#include "plan/trace/marked_value.h"
#include "settings/sinks.h"

struct FoundSink {
    std::string key;
    nvram::Quoting quoting;
    // "command", or the path of a file.
    std::string place;
    // The line as in nvram::Sink.
    std::string line;
    // Those of special_characters that arrive there unchanged.
    std::string passes;
    // The field of a record that is used there; empty for the whole value.
    std::string field;
    // What has to hold of other settings, as in nvram::Sink.
    std::string when = {};

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 takes the comparison's 0 for a pointer.
    friend auto operator<=>(const FoundSink&, const FoundSink&) = default;
};

// The quotes around a place in a shell line.
nvram::Quoting quoting_at(std::string_view line, size_t place);

class SinkSearch {
  public:
    // Plays these words on this unchanged router, and records the settings that they use and the
    // files that a shell runs. Call it before all marked plays, which must know all scripts.
    void play_plain(const World& router, const std::vector<std::string>& words);

    // Plays these words once for each setting that they read and each part of its value, marked.
    void play_marked(const World& stated, const std::vector<std::string>& words);

    // What was found, by key; of lines that differ in other settings only, one, with these
    // settings' names in it, and what has to hold of them.
    std::vector<FoundSink> found() const;

    // The applications that read or write each setting themselves, each once, by name; what boot
    // uses is "init" alone.
    const std::map<std::string, std::set<std::string>>& uses() const { return uses_; }

  private:
    struct Mark : MarkedValue {
        // The field of a record that the text is a part of, marked.
        std::string field;
    };
    // One play with a marked value, stored so that it can be played again.
    struct Trial {
        const World* router;
        const std::vector<std::string>* words;
        std::string key;
        Mark mark;
        std::string field;
    };
    struct Place {
        FoundSink sink;
        World router;
        std::vector<std::string> words;
        Mark mark;
        // Of the marked value, what the line holds.
        std::string carried;
    };

    std::map<std::string, Place> places_;
    std::map<std::string, std::set<std::string>> uses_;
    std::set<std::string> scripts_;

    void note_uses(const Plan& plan);
    void note_scripts(const Transcript& transcript);
    void mark_parts(Trial trial, const std::string& value, size_t from, size_t size);
    void try_mark(const Trial& trial);
    void note_line(const Trial& trial, const std::string& place, std::string line);
};

#endif
