// rcplan's verbs, one file each: the verb's options, and the function that runs it and returns the
// exit status.
#ifndef RC_RCPLAN_VERBS_H
#define RC_RCPLAN_VERBS_H

#include <string>
#include <vector>

#include "plan/netfilter/packet_options.h"
#include "rcplan/options.h"

inline constexpr int status_done = 0;
inline constexpr int status_differs = 1;
inline constexpr int status_wrong_use = 2;

struct RunOptions {
    RouterOptions router;
    std::vector<std::string> words;
    bool why = false;
    bool json = false;
    bool as_case = false;
    bool show_secrets = false;
    std::string files;
    std::string colour = "auto";
};
int run_verb(const RunOptions& options);

struct DiffOptions {
    std::string a;
    std::string b;
    std::vector<std::string> words;
    std::string world_file;
    bool json = false;
    bool show_secrets = false;
    std::string colour = "auto";
};
int diff_verb(const DiffOptions& options);

struct SinksOptions {
    RouterOptions router;
    std::vector<std::string> cases;
    std::vector<std::string> keys;
    std::string table;
};
int sinks_verb(const SinksOptions& options);

struct ReportOptions {
    RouterOptions router;
    std::string page;
    std::vector<std::string> words;
};
int report_verb(const ReportOptions& options);

struct PacketVerbOptions {
    RouterOptions router;
    PacketOptions packet;
    std::string wan_address;
    std::vector<std::string> words;
    bool json = false;
    bool no_why = false;
};
int packet_verb(const PacketVerbOptions& options);

struct ExposureOptions {
    RouterOptions router;
    std::string wan_address;
    std::string from = "wan";
    std::string expect;
    std::vector<std::string> words;
    bool json = false;
};
int exposure_verb(const ExposureOptions& options);

struct InspectOptions {
    std::string bundle;
    // A command that writes the archive to its standard output; empty: none.
    std::string live;
    std::string page;
    // Where to write the router's settings; empty: nowhere.
    std::string settings;
    bool json = false;
};
int inspect_verb(const InspectOptions& options);

struct CheckOptions {
    bool update = false;
    bool whole = false;
    std::vector<std::string> cases;
};
int check_verb(const CheckOptions& options);

#endif
