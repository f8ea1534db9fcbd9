// Case files as they stand on the disk: the one place that reads them, and resolves "like".
#ifndef RC_PLAN_ROUTER_CASE_FILE_H
#define RC_PLAN_ROUTER_CASE_FILE_H

#include <string>
#include <variant>
#include <vector>

#include "plan/router/case.h"

// The case with everything that it inherits, its whole transcript expected. Errors begin with the
// path.
std::variant<Case, CaseError> load_case(const std::string& path);

// A case file taken apart, for rewriting its expectation.
struct CaseFile {
    // As load_case has it; nothing is expected while `wrong_changes` is set. The head is the file's
    // own.
    Case stated;
    // The text of a whole case that states the same.
    std::string whole;
    // The transcript of the case that this one is like; nullopt for a whole case.
    std::optional<std::string> base;
    // Why the changes cannot be applied to the base, the path first; else empty.
    std::string wrong_changes;
};
std::variant<CaseFile, CaseError> read_case_file(const std::string& path);

// The expectation in the form that the file has: a transcript, or the changes to the base's.
std::string expectation(const CaseFile& file, const std::string& transcript);

// The case files below a folder by name; a path that is no folder is one itself.
std::vector<std::string> case_paths(const std::string& path);

#endif
