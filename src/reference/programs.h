// The command lines of nvram and rcplan, for the completion.
#ifndef RC_REFERENCE_PROGRAMS_H
#define RC_REFERENCE_PROGRAMS_H

#include <string>
#include <vector>

// The kind of a word of a command line, as the completion's functions name it: "" for any word,
// "key", "assignment" (KEY=VALUE), "file", "folder", "place" (of settings: a file, @working,
// @factory, @flash or @previous), "action" (of rc, with all following words), or the words of a
// choice after "words ".
using WordKind = std::string;

struct Option {
    std::string name;
    bool takes_word = false;
    WordKind word = {};
};

struct Verb {
    std::string name;
    std::vector<Option> options = {};
    // After the options, in order; the last one applies to all further words.
    std::vector<WordKind> words = {};
};

struct Program {
    std::string name;
    std::vector<Option> options = {};
    std::vector<Verb> verbs;
};

Program nvram_program();
Program rcplan_program();

#endif
