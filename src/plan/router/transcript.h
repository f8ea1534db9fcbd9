// The transcript of a run: everything rc did, in order, and the text form in which cases and plans
// show it.
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

// What a run adds up to.
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
    // Standard output: joined with output that came directly before.
    void print(std::string_view output);

    const std::vector<Event>& events() const { return events_; }
    // The form that docs/cases.md describes.
    std::string text() const;
    Totals totals() const;
    // One line: how many commands, files and settings, and how long all pauses are together.
    std::string summary() const;

  private:
    std::vector<Event> events_;
};

// An event in that form: its own line and those of its body. A print has no line of its own.
std::vector<std::string> event_lines(const Event& event);

// How long an event pauses; 0 when it is no pause.
long long pause_microseconds(const Event& event);

// How long the pauses before an event took together, by event; one more for the end of the run.
std::vector<long long> elapsed_microseconds(const Transcript& transcript);

// "2.5 s".
std::string in_seconds(long long microseconds);

// Escapes as in cases: one line of text, the newline not included.
std::string escape_line(std::string_view line);
// Reverses escape_line; an unknown escape is kept as it stands.
std::string unescape_line(std::string_view line);

#endif
