// What rc would make of a router that was found: its applications started one after the other, over
// the router as it is.
#ifndef RC_PLAN_INSPECT_EXPECTED_H
#define RC_PLAN_INSPECT_EXPECTED_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/inspect/found.h"
#include "plan/netfilter/netfilter.h"
#include "plan/router/executed_commands.h"
#include "plan/router/plan.h"

// The start of an application, of the Internet side, or the boot.
struct Step {
    Plan plan;
    std::vector<ExecutedCommand> commands;

    // What brings its effects back: "rc dhcpd restart"; the router's start for what only the boot
    // does.
    std::string again() const;
};

// A command, and the step that it belongs to.
struct StepCommand {
    const Step* step = nullptr;
    const ExecutedCommand* executed = nullptr;

    const std::vector<std::string>& words() const { return executed->command.words; }
    bool runs(std::string_view program) const;
};

class ExpectedRouter {
  public:
    explicit ExpectedRouter(const FoundRouter& found);

    const std::vector<Step>& steps() const { return steps_; }
    std::vector<StepCommand> commands() const;
    const World& after() const { return after_; }
    // A file as the boot wrote it, before the link was up; null if it does not.
    const std::string* before_link(const std::string& path) const;
    // The step that wrote a file last; null if none did.
    const Step* writer_of(const std::string& path) const;
    // The packet filter after all steps; a rule's origin belongs to the step of firewall().
    Netfilter rules() const;
    const Step* firewall() const;

  private:
    std::vector<Step> steps_;
    World after_;
    bool has_services_ = false;

    std::map<std::string, std::string> unlinked_files_;

    void play_boot(const FoundRouter& found);
    void play_wan(const FoundRouter& found);
    void play_access_point(const FoundRouter& found);
    void keep_unlinked_files(const std::vector<std::string>& words);
    void play(const std::vector<std::string>& words);
};

#endif
