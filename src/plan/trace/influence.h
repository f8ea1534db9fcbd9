// The influences on the lines of a plan: settings, and assumed facts of the router. Found by
// playing the run again with one input changed at a time: every line that then differs depends on
// it. So nothing is annotated by hand, and everything that the handlers compute, compare or pass on
// is covered.
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
    // The answer that the run got: a setting's value, an address in dotted-quad form, a file's
    // content. nullopt if the input does not exist.
    std::optional<std::string> answer;
    // True if another answer removes the line; false if another answer only changes its text.
    bool decides = false;
    // The entries of a list that the line depends on, counted from 1 and in order; empty if it
    // depends on the list as a whole, or if the setting is no list.
    std::vector<unsigned> entries = {};

    // One readable line: "lan_if=br0", "if fw_nat=1", "br0 has the address 192.168.1.1",
    // "if there is no file /tmp/ras_ip", "fw_in_rules entry 3=web:1:x:80:80:tcp:40".
    std::string text() const;
    // "entry 3", "entries 2, 5-9"; empty without entries.
    std::string entries_text() const;
    // The answer as far as the line depends on it: of a list, the entry if it is only one.
    std::optional<std::string> own_answer() const;
    // Whether the other one says the same of another line.
    bool same_as(const Influence& other) const;
};

class Provenance {
  public:
    // The influences on a line of the transcript, settings first, each kind by name.
    const std::vector<Influence>& of(const Origin& line) const;
    // The facts of the router, other than settings, that any line depends on.
    std::vector<Influence> assumed() const;
    void add(const Origin& line, const Influence& influence);
    // The same with every influence passed through this function.
    Provenance changed(const std::function<Influence(const Influence&)>& change) const;

  private:
    std::map<Origin, std::vector<Influence>> lines_;
};

// Called during the work with the number of inputs done and of all inputs.
using Progress = std::function<void(size_t done, size_t all)>;

// Chooses the inputs whose influence is looked for.
using Chosen = bool (*)(const Input& input);

Provenance trace(const Plan& plan, const Progress& progress = {}, Chosen chosen = nullptr);

// The facts of the router that rc read, without settings, its own process and files.
std::vector<Influence> facts_read(const Plan& plan);

#endif
