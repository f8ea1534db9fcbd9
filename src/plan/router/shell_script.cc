// Reads scripts: words, quotes, comments, redirections. What a shell would expand is not expanded,
// it is told.

#include "plan/router/shell_script.h"

#include <algorithm>

namespace {

bool one_of(std::string_view characters, char c) {
    return characters.find(c) != std::string_view::npos;
}

constexpr const char* composed = "the shell composes it with other commands";

// Words that begin and end what the shell may do once, never, or more often.
constexpr std::string_view openings[] = {"if", "while", "until", "for", "case", "{"};
constexpr std::string_view closings[] = {"fi", "done", "esac", "}"};

class ScriptReader {
  public:
    explicit ScriptReader(std::string_view script) : rest_(script) {}
    bool at_end() const { return rest_.empty(); }
    ScriptCommand read_command();

  private:
    std::string_view rest_;
    size_t line_ = 1;

    char take() {
        const char c = rest_.front();
        rest_.remove_prefix(1);
        if (c == '\n') line_++;
        return c;
    }
    void skip_blanks() {
        while (!at_end() && one_of(" \t", rest_.front())) take();
    }
    void skip_redirection(ScriptCommand& command);
    // Reads a word as far as it goes; it may be empty.
    std::string read_word(ScriptCommand& command);
    void read_double_quoted(ScriptCommand& command, std::string& word);
    void read_single_quoted(ScriptCommand& command, std::string& word);
};

// Keeps the first reason.
void leave_unread(ScriptCommand& command, const char* reason) {
    if (command.unread.empty()) command.unread = reason;
}

ScriptCommand ScriptReader::read_command() {
    ScriptCommand command;
    skip_blanks();
    command.line = line_;
    const std::string_view start = rest_;
    size_t length = 0;
    for (skip_blanks(); !at_end(); skip_blanks()) {
        const char c = rest_.front();
        if (rest_.starts_with("\\\n")) {
            take();
            take();
        } else if (rest_.starts_with("&&")) {
            leave_unread(command, composed);
            take();
            take();
        } else if (one_of("\n;&", c)) {
            take();
            break;
        } else if (c == '#') {
            rest_.remove_prefix(std::min(rest_.find('\n'), rest_.size()));
        } else if (one_of("<>", c)) {
            skip_redirection(command);
        } else if (one_of("|()", c)) {
            leave_unread(command, composed);
            take();
        } else {
            const std::string_view before = rest_;
            std::string word = read_word(command);
            const std::string_view raw = before.substr(0, before.size() - rest_.size());
            const bool is_descriptor = !at_end() && one_of("<>", rest_.front()) &&
                                       raw.find_first_not_of("0123456789") == raw.npos;
            if (!is_descriptor) command.words.push_back(std::move(word));
        }
        length = start.size() - rest_.size();
    }
    command.text = start.substr(0, length);
    return command;
}

void ScriptReader::skip_redirection(ScriptCommand& command) {
    while (!at_end() && one_of("<>&", rest_.front())) take();
    skip_blanks();
    read_word(command);
}

std::string ScriptReader::read_word(ScriptCommand& command) {
    std::string word;
    if (rest_.starts_with('~')) leave_unread(command, "the shell would expand \"~\"");
    while (!at_end() && !one_of(" \t\n;&|()<>", rest_.front())) {
        const char c = take();
        if (c == '"') {
            read_double_quoted(command, word);
        } else if (c == '\'') {
            read_single_quoted(command, word);
        } else if (c == '\\') {
            // A backslash at the end of a line joins the next one.
            if (at_end()) break;
            const char escaped = take();
            if (escaped != '\n') word += escaped;
        } else {
            if (one_of("$`", c)) leave_unread(command, "the shell would expand \"$\" or \"`\"");
            if (one_of("*?[", c)) command.pattern = true;
            word += c;
        }
    }
    return word;
}

void ScriptReader::read_double_quoted(ScriptCommand& command, std::string& word) {
    while (!at_end()) {
        const char c = take();
        if (c == '"') return;
        if (one_of("$`", c)) leave_unread(command, "the shell would expand \"$\" or \"`\"");
        if (c == '\\' && !at_end() && one_of("$`\"\\\n", rest_.front())) {
            const char escaped = take();
            if (escaped != '\n') word += escaped;
        } else {
            word += c;
        }
    }
    leave_unread(command, "a quote is not closed");
}

void ScriptReader::read_single_quoted(ScriptCommand& command, std::string& word) {
    while (!at_end()) {
        const char c = take();
        if (c == '\'') return;
        word += c;
    }
    leave_unread(command, "a quote is not closed");
}

}  // namespace

std::vector<ScriptCommand> script_commands(std::string_view script) {
    std::vector<ScriptCommand> commands;
    ScriptReader reader(script);
    long depth = 0;
    while (!reader.at_end()) {
        ScriptCommand command = reader.read_command();
        if (command.words.empty() && command.unread.empty()) continue;
        for (const std::string& word : command.words)
            depth += std::ranges::count(openings, word) - std::ranges::count(closings, word);
        if (depth > 0) leave_unread(command, composed);
        commands.push_back(std::move(command));
    }
    return commands;
}
