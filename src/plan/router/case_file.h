// Case files on disk. Only this part reads them and resolves "like".
#ifndef RC_PLAN_ROUTER_CASE_FILE_H
#define RC_PLAN_ROUTER_CASE_FILE_H

#include <string>
#include <variant>
#include <vector>

#include "plan/router/case.h"

// The case with everything that it inherits and its whole expected transcript. Errors begin with
// the path.
std::variant<Case, CaseError> load_case(const std::string& path);

// The parts of a case file, for rewriting its expectation.
struct CaseFile {
    // As from load_case, but with the file's own head. The expectation is empty if `wrong_changes`
    // is set.
    Case stated;
    // The text of a whole case that states the same.
    std::string whole;
    // The transcript of the case that this one is like; nullopt for a whole case.
    std::optional<std::string> base;
    // The error, with the path, if the changes cannot be applied to the base; else empty.
    std::string wrong_changes;
};
std::variant<CaseFile, CaseError> read_case_file(const std::string& path);

// The expectation in the form that the file has: a transcript, or the changes to the base's.
std::string expectation(const CaseFile& file, const std::string& transcript);

// The case files below a folder, sorted by name; for any other path, the path itself.
std::vector<std::string> case_paths(const std::string& path);

#endif
