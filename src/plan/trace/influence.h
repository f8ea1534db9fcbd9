// What the lines of a plan come from: the settings whose values went into them, and the facts of
// the router that were taken for granted. Found by playing the run again with one thing changed at
// a time: whatever line reads otherwise then depends on it. So nothing is kept by hand, and nothing
// is left out that the handlers compute, compare or hand on.
#ifndef RC_PLAN_TRACE_INFLUENCE_H
#define RC_PLAN_TRACE_INFLUENCE_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "plan/router/input.h"
#include "plan/router/lines.h"
#include "plan/router/plan.h"

struct Influence {
    Input input;
    // What the run was told: a setting's value, an address in dotted quad, a file's content.
    // Nothing when there is no such thing.
    std::optional<std::string> answer;
    // Another answer decides whether the line stands at all; otherwise it reads differently.
    bool decides = false;

    // One line for people: "lan_if=br0", "if fw_nat=1", "br0 has the address 192.168.1.1",
    // "if there is no file /tmp/ras_ip". Secrets as they are: it is the reader's own plan.
    std::string text() const;
};

class Provenance {
  public:
    // What a line of the transcript comes from, settings first, each kind by name.
    const std::vector<Influence>& of(const Origin& line) const;
    // The facts of the router, other than settings, that any line depends on.
    std::vector<Influence> assumed() const;
    void add(const Origin& line, const Influence& influence);

  private:
    std::map<Origin, std::vector<Influence>> lines_;
};

// Called as the work goes on with how much of it is done.
using Progress = std::function<void(size_t done, size_t all)>;

Provenance trace(const Plan& plan, const Progress& progress = {});

// The facts of the router that rc asked for: settings, its own process and files left out.
std::vector<Influence> asked_facts(const Plan& plan);

#endif
