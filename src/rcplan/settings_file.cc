// The settings file of a command of rcplan: what is wrong with it, and which keys rc does not know.

#include "rcplan/settings_file.h"

#include "check/check.h"
#include "libnvram/image.h"
#include "rcplan/files.h"
#include "settings/table.h"

namespace {

constexpr const char* expected = "expected one KEY=VALUE per line, as nvram export writes it";

// More warnings would hide the output.
constexpr size_t most_warnings = 10;

size_t line_number(const std::string& text, size_t at) {
    size_t number = 1;
    for (size_t i = 0; i < at; i++)
        if (text[i] == '\n') number++;
    return number;
}

// Why the file as a whole is no settings file; empty if it may be one.
std::string whole_file_problem(const std::string& text) {
    if (text.find_first_not_of(" \t\r\n") == std::string::npos)
        return std::string("is empty; ") + expected;
    const size_t zero = text.find('\0');
    if (zero != std::string::npos)
        return "is not a settings file: line " + std::to_string(line_number(text, zero)) +
               " contains a zero byte; " + expected;
    if (text.starts_with("\xef\xbb\xbf"))
        return "begins with a byte order mark; save it without one";
    const size_t crlf = text.find("\r\n");
    if (crlf != std::string::npos || text.ends_with('\r'))
        return "has CRLF line ends, the first in line " +
               std::to_string(line_number(text, std::min(crlf, text.size()))) +
               "; convert it: tr -d '\\r' < FILE > NEW";
    return "";
}

}  // namespace

std::optional<Settings> read_settings_file(const std::string& path) {
    const std::optional<std::string> text = read_file(path);
    if (!text) return std::nullopt;
    const std::string problem = whole_file_problem(*text);
    if (!problem.empty()) {
        complain(path + ": " + problem);
        return std::nullopt;
    }
    std::vector<nvram::BadLine> bad_lines;
    const nvram::Image image(*text, &bad_lines);
    if (image.entries().empty()) {
        complain(path + ": is not a settings file: no line is KEY=VALUE; " + expected);
        return std::nullopt;
    }
    for (const nvram::BadLine& bad : bad_lines)
        complain(path + ": line " + std::to_string(bad.number) + " " + bad.reason);
    if (!bad_lines.empty()) return std::nullopt;
    return read_settings(*text);
}

void warn_of_unknown(const std::string& prefix, const Settings& settings) {
    size_t unknown = 0;
    for (const nvram::Finding& finding :
         nvram::check_settings(nvram::Image(settings_image(settings)))) {
        if (nvram::find_known(finding.key) || !settings.contains(finding.key)) continue;
        if (++unknown <= most_warnings)
            complain("warning: " + prefix + finding.key + " " + finding.problem);
    }
    if (unknown > most_warnings)
        complain("warning: " + prefix + "rc does not know " +
                 std::to_string(unknown - most_warnings) + " more settings");
}
