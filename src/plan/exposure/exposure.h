// What a firewall lets in, which of its rules are never used, and what gets past its blocks: one
// row for each.
#ifndef RC_PLAN_EXPOSURE_EXPOSURE_H
#define RC_PLAN_EXPOSURE_EXPOSURE_H

#include <set>
#include <string>
#include <vector>

#include "plan/exposure/openings.h"
#include "plan/trace/influence.h"

// A setting behind a rule, and the entries of its list, counted from 1.
struct SettingUse {
    std::string key;
    std::vector<unsigned> entries;

    // "fw_in_rules entry 3"
    std::string text() const;
};

struct ExposureRow {
    enum class Kind { Open, Unused, Escape };
    Kind kind = Kind::Open;
    std::string proto = {};
    std::string ports = {};  // empty: the protocol has none
    std::string from = {};   // an interface
    std::string src = {};
    std::string to = {};  // "router", or addresses
    std::string to_ports = {};
    std::vector<std::string> when = {};  // empty: always
    std::vector<SettingUse> settings = {};
    // The line that adds the rule that decides, and its place in the transcript.
    Place rule = {};
    std::optional<Origin> origin = {};
    // The words of `rcplan packet` for a packet that shows it; empty if there is none.
    std::string packet = {};
    // What takes the rule's packets, or why they get past, and what to do.
    std::string why = {};
    // A rule that rc writes itself, whatever the lists of the settings hold.
    bool own = false;
    // The packets, of Open, and how many combinations of fields they are.
    PacketSet packets = {};
    double breadth = 0;
    ConnectionState state = ConnectionState::New;
};

// Adds other uses, each key once.
void add_uses(std::vector<SettingUse>& uses, const std::vector<SettingUse>& more);

// Whether an entry of a list is among them.
bool is_of_a_list(const std::vector<SettingUse>& uses);

// The settings behind the rules of a firewall.
class RuleSettings {
  public:
    // Redacted provenance is enough.
    RuleSettings(const Firewall& firewall, const Provenance& provenance);
    // Of a rule and of the rules that jump to its chain; without the settings that most rules
    // depend on.
    std::vector<SettingUse> of(const RulePlace& place) const;

  private:
    const Provenance& provenance_;
    std::vector<std::string> common_;

    void add(std::vector<SettingUse>& uses, const Rule& rule) const;
};

// From an interface, the widest opening first.
std::vector<ExposureRow> open_rows(const Firewall& firewall, const PacketSpace& space,
                                   const RuleSettings& settings, const std::string& in);
// The firewall in one state of the schedule.
struct Moment {
    const Firewall& firewall;
    const RuleSettings& settings;
};

// As open_rows, at both moments: rows that are there at one of them only have the condition.
std::vector<ExposureRow> open_rows_at(const Moment& now, const Moment& other,
                                      const PacketSpace& space, const std::string& in);

// What a firewall lets through, but the other one does not; both in the same space.
std::vector<ExposureRow> opened_rows(const Firewall& firewall, const Firewall& other,
                                     const PacketSpace& space, const RuleSettings& settings,
                                     const std::string& in);
// Those of the user's settings first.
std::vector<ExposureRow> unused_rows(const Firewall& firewall, const PacketSpace& space,
                                     const RuleSettings& settings);
std::vector<ExposureRow> escape_rows(const Firewall& firewall, const PacketSpace& space,
                                     const RuleSettings& settings);

// What the blocks that follow the schedule let through while it is closed. If it is open now, each
// row's packet comes with a time when it is closed.
std::vector<ExposureRow> schedule_escape_rows(const Moment& now, const Moment& other,
                                              const PacketSpace& space);

// The line that adds a rule or sets a policy; empty for a policy that no line has set.
Place place_of(const Firewall& firewall, const RulePlace& by);

// "rule 3 of PF"
std::string rule_name(const RulePlace& place);

// A row of Open as a sentence: "tcp 8000 from anyone to 192.168.1.9 port 80, always".
std::string open_text(const ExposureRow& row);

// The chains, each by its table and name, that packets enter which may begin a connection.
std::set<std::pair<std::string, std::string>> chains_entered(const Firewall& firewall,
                                                             const PacketSpace& space,
                                                             const std::string& in);

#endif
