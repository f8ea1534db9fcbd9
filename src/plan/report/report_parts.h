// The sections of a report's page, and what they share: ids, links, and the lines that depend on a
// setting.
#ifndef RC_PLAN_REPORT_REPORT_PARTS_H
#define RC_PLAN_REPORT_REPORT_PARTS_H

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plan/exposure/exposure.h"
#include "plan/netfilter/netfilter.h"
#include "plan/router/plan.h"
#include "plan/trace/influence.h"
#include "plan/trace/produced.h"
#include "plan/trace/redaction.h"

// A setting or a fact of the router, and the lines that depend on it, in order.
struct Subject {
    Influence influence;
    std::vector<Origin> lines;
};

// What the run leaves open for connections from the WAN.
struct OpenFromWan {
    std::string in;
    std::vector<ExposureRow> rows;
    // By table and name.
    std::set<std::pair<std::string, std::string>> chains_entered;
    // Why it is not known; empty if it is, or if the run has no firewall.
    std::string unknown;
};

struct Report {
    Report(const Plan& plan, const Provenance& provenance);

    const Plan& plan;
    Redaction redaction;
    // Without the values of secrets.
    Provenance provenance;
    Netfilter tables;
    std::optional<OpenFromWan> open;
    std::vector<FollowedFile> files;
    // The place of a transcript's line in the produced files: index of the file, index of the line.
    std::map<Origin, std::pair<size_t, size_t>> places;
    // Settings first, each kind by name.
    std::map<Input, Subject> subjects;

    const Event& event(size_t index) const { return plan.after.transcript.events()[index]; }
};

// Ids, safe in attributes.
std::string line_id(const Origin& origin);
std::string file_id(size_t file);
std::string file_line_id(size_t file, size_t line);
std::string subject_id(const Input& input);
std::string entry_id(const Input& setting, unsigned entry);

// The influences on a line. Those that decide whether the event happens at all belong to the event
// and are not repeated for the lines of its body.
std::vector<Influence> own_reasons(const Report& report, const Origin& origin);
std::vector<Influence> own_reasons(const Report& report, const FileLine& line);

// One reason as text with a link to its row: "if fw_nat=1".
std::string reason_html(const Report& report, const Influence& influence);
// A button that opens the list of reasons; empty without reasons.
std::string why_html(const Report& report, const std::vector<Influence>& reasons);
// The reasons in one line; empty without reasons.
std::string reasons_html(const Report& report, const std::vector<Influence>& reasons);

// The text redacted, as a line of HTML.
std::string text_html(const Report& report, const Origin& origin, const std::string& text);

// A link to the line that adds a rule: in a produced file, otherwise in the timeline.
std::string place_html(const Report& report, const Origin& origin);

// Whether an event's body is shown in hexadecimal, so that its lines have no ids.
bool is_binary(const Event& event);

// "1 line", "2 lines".
std::string counted(size_t count, const char* one);

#endif
