// Mutations of cases: they change the stated router, never the form of the file.
#ifndef RC_TESTS_CASE_MUTATOR_H
#define RC_TESTS_CASE_MUTATOR_H

#include <set>
#include <string>
#include <vector>

#include "plan/router/recording.h"
#include "values.h"

struct Case;

// Changes one stated fact, mostly the answer to an input that an earlier run of rc with these words
// read.
void mutate(Case& stated, Random& random);

// Copies some of another case's stated facts.
void cross(Case& stated, const Case& other, Random& random);

// The path by which a case denies rc a reader of its output.
constexpr const char* no_reader = "/dev/stdout";

// Stores the inputs that rc read in a run with these words, and the command lines that it waited
// for, for later mutations.
void remember_run(const std::vector<std::string>& words, const Recording& played);

#endif
