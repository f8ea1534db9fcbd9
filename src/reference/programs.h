// The command lines of nvram and rcplan, as far as the completion knows them.
#ifndef RC_REFERENCE_PROGRAMS_H
#define RC_REFERENCE_PROGRAMS_H

#include <string>
#include <vector>

// What a word of a command line may be, by the name that the completion's functions have for it: ""
// when anything may be, "key", "assignment" (KEY=VALUE), "file", "folder", "place" (of settings: a
// file,
// @working, @factory or @flash), "action" (of rc, with all that follows), or the words of a choice
// behind "words ".
using WordKind = std::string;

struct Option {
    std::string name;
    bool takes_word = false;
    WordKind word = {};
};

struct Verb {
    std::string name;
    std::vector<Option> options = {};
    // Behind the options, in their order; the last one goes for all that follow.
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
