// Redacts the values of secret settings in a plan. In a line that depends on a secret, the value is
// replaced; if the line has the value in another form (quoted, in hexadecimal), the whole line is
// replaced.
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
    // The provenance says which lines depend on secrets. The plan must live as long as this.
    Redaction(const Plan& plan, const Provenance& provenance);

    // A line of the transcript: its event's text, or a line of its body.
    std::string line(const Origin& origin, std::string text) const;
    // A line of a produced file.
    std::string line(const FollowedFile& file, const FileLine& line) const;
    // The name of a produced file, or of another fact of the router.
    std::string path(const std::string& path) const;
    // The answer as far as the line depends on it, redacted; empty without an answer.
    std::string answer(const Influence& influence) const;
    // The whole transcript; its events and lines keep their places.
    Transcript transcript() const;
    // The provenance with all answers redacted.
    Provenance provenance(const Provenance& traced) const;
    // Whether a secret went into the event's body.
    bool in_body(size_t event) const;

  private:
    struct Secret {
        std::string value;
        // The line contains the value in some form.
        bool carried = false;
    };
    const Plan& plan_;
    std::map<Origin, std::vector<Secret>> secrets_;
    // The values of all secret settings that the run read, unless they are too short.
    std::vector<std::string> read_;
    // Values of secret settings that the run itself stores. Its lines with them do not depend on a
    // setting, so provenance does not find them.
    std::vector<std::string> stored_;
};

inline constexpr std::string_view mask = "********";

// The provenance of the secret settings only, which is enough for a redaction.
Provenance trace_secrets(const Plan& plan);

#endif
