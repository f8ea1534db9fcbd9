// The transcript of a run: everything rc did, in order, and its text form in cases and plans.
#ifndef RC_PLAN_ROUTER_TRANSCRIPT_H
#define RC_PLAN_ROUTER_TRANSCRIPT_H

#include <string>
#include <string_view>
#include <vector>

struct Event {
    std::string verb;
    std::string text;
    std::string body;
    bool has_body = false;
    int depth = 0;  // nested runs of rc
};

// The totals of a run.
struct Totals {
    int commands = 0;
    int files = 0;
    int settings = 0;
    long long microseconds = 0;  // of pauses
};

class Transcript {
  public:
    // The depth that the following events get.
    int depth = 0;

    void add(std::string_view verb, std::string_view text);
    void add_with_body(std::string_view verb, std::string_view text, std::string_view body);
    // Standard output, joined with directly preceding output.
    void print(std::string_view output);

    const std::vector<Event>& events() const { return events_; }
    // The form that docs/cases.md describes.
    std::string text() const;
    Totals totals() const;
    // One line: the numbers of commands, files and settings, and the total of all pauses.
    std::string summary() const;

  private:
    std::vector<Event> events_;
};

// An event in that form: its own line and those of its body. A print has no heading line.
std::vector<std::string> event_lines(const Event& event);

// The length of a pause; 0 for other events.
long long pause_microseconds(const Event& event);

// The total of the pauses before each event; one more entry for the end of the run.
std::vector<long long> elapsed_microseconds(const Transcript& transcript);

// "2.5 s".
std::string in_seconds(long long microseconds);

// Escapes as in cases: one line of text without its newline.
std::string escape_line(std::string_view line);
// Reverses escape_line; an unknown escape is kept unchanged.
std::string unescape_line(std::string_view line);

#endif
