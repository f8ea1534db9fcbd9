// Redacts the values of secret settings in a plan that is passed on. In a line that depends on a
// secret, the value is replaced; if the line has the value in another form (quoted, in
// hexadecimal), the whole line is replaced.
#ifndef RC_PLAN_TRACE_REDACTION_H
#define RC_PLAN_TRACE_REDACTION_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/plan.h"
#include "plan/trace/influence.h"
#include "plan/trace/produced.h"

class Redaction {
  public:
    Redaction(const Plan& plan, const Provenance& provenance);

    // A line of the transcript: its event's text, or a line of its body.
    std::string line(const Origin& origin, std::string text) const;
    // A line of a produced file.
    std::string line(const FollowedFile& file, const FileLine& line) const;
    // The answer, redacted if it is a secret; empty without an answer.
    std::string answer(const Influence& influence) const;
    // Whether a secret went into the event's body.
    bool in_body(size_t event) const;

  private:
    struct Secret {
        std::string value;
        // The line contains the value in some form.
        bool carried = false;
    };
    std::map<Origin, std::vector<Secret>> secrets_;
    // Values of secret settings that the run itself stores. Its lines with them do not depend on a
    // setting, so provenance does not find them.
    std::vector<std::string> stored_;
};

inline constexpr std::string_view mask = "********";

#endif
