// Hides the values of secret settings in a plan that is handed on. A line that a secret went into
// is shown with the value masked; where the value stands in another form (quoted, in hexadecimal),
// the whole line is.
#ifndef RC_PLAN_TRACE_REDACTION_H
#define RC_PLAN_TRACE_REDACTION_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "plan/router/plan.h"
#include "plan/trace/influence.h"
#include "plan/trace/produced.h"

class Masks {
  public:
    Masks(const Plan& plan, const Provenance& provenance);

    // A line of the transcript: its event's text, or a line of its body.
    std::string line(const Origin& origin, std::string text) const;
    // A line of a file that the run leaves behind.
    std::string line(const FollowedFile& file, const FileLine& line) const;
    // An answer, if there is one.
    std::string answer(const Influence& influence) const;
    // Whether a secret went into the event's body.
    bool in_body(size_t event) const;

  private:
    struct Secret {
        std::string value;
        // The line carries the value, in whatever form.
        bool carried = false;
    };
    std::map<Origin, std::vector<Secret>> secrets_;
    // Values of secret settings that the run itself stores; what it does with them before and after
    // is no dependence on a setting.
    std::vector<std::string> stored_;
};

inline constexpr std::string_view mask = "********";

#endif
