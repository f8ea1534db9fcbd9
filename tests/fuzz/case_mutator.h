// Mutations of cases: what changes is a given of the router, never the form of the file.
#ifndef RC_TESTS_CASE_MUTATOR_H
#define RC_TESTS_CASE_MUTATOR_H

#include <set>
#include <string>
#include <vector>

#include "plan/router/input.h"
#include "values.h"

struct Case;

// Changes one given, mostly an answer to what rc has asked before when it was called with these
// words.
void mutate(Case& stated, Random& random);

// Takes over some of another case's givens.
void cross(Case& stated, const Case& other, Random& random);

// What rc read from its environment in a run with these words. Kept for later mutations.
void remember_asked(const std::vector<std::string>& words, const std::set<Input>& asked);

#endif
