// Changes to a transcript: applying them, and writing them.

#include "plan/router/case_difference.h"

#include <algorithm>
#include <map>

#include "core/text.h"
#include "plan/router/lines.h"

namespace {

using Lines = std::vector<std::string>;

constexpr std::string_view keep = "  ";
constexpr std::string_view drop = "- ";
constexpr std::string_view add = "+ ";

// Entries are indented by four columns for each nested run, the lines of their bodies by five more.
bool is_body_line(std::string_view line) {
    return line.find_first_not_of(' ') % 4 == 1;
}

// A transcript split into entries: bodies[i] are the lines below entries[i].
struct Entries {
    Lines entries;
    std::vector<Lines> bodies;

    explicit Entries(std::string_view text) {
        while (!text.empty()) {
            const std::string line(take_field(text, '\n'));
            if (is_body_line(line) && !bodies.empty()) {
                bodies.back().push_back(line);
                continue;
            }
            entries.push_back(line);
            bodies.emplace_back();
        }
    }
};

// The lines of the base while changes are applied.
class EditedLines {
  public:
    explicit EditedLines(const Lines& lines)
        : lines_(lines), removed_(lines.size()), added_(lines.size() + 1) {}

    // Moves to the place after this line: the next one, or the only one with this text. Returns an
    // error, or "".
    std::string find(const std::string& line, const std::string& where);
    void remove_found() { removed_[next_ - 1] = true; }
    void add_here(const std::string& line) { added_[next_].push_back(line); }

    // The line that find() found last.
    size_t found() const { return next_ - 1; }
    bool is_kept(size_t index) const { return !removed_[index]; }
    const Lines& added_before(size_t index) const { return added_[index]; }
    const Lines& lines() const { return lines_; }

  private:
    const Lines& lines_;
    std::vector<bool> removed_;
    std::vector<Lines> added_;
    size_t next_ = 0;
};

std::string EditedLines::find(const std::string& line, const std::string& where) {
    if (next_ < lines_.size() && lines_[next_] == line) {
        next_++;
        return "";
    }
    const std::ptrdiff_t times = std::ranges::count(lines_, line);
    if (times == 0) return format("'%s' is not in %s", line.c_str(), where.c_str());
    if (times > 1)
        return format("'%s' occurs %td times in %s; name the lines before it first", line.c_str(),
                      times, where.c_str());
    const auto index = static_cast<size_t>(std::ranges::find(lines_, line) - lines_.begin());
    if (index < next_)
        return format("'%s' comes earlier in %s than the change before it", line.c_str(),
                      where.c_str());
    next_ = index + 1;
    return "";
}

// Applies changes line by line.
class Composer {
  public:
    explicit Composer(const Entries& base) : entries_(base.entries) {
        for (const Lines& body : base.bodies) bodies_.emplace_back(body);
    }
    // Returns the error in the line, or "".
    std::string take(std::string_view line);
    std::string text() const;

  private:
    enum class Under {
        Nothing,  // the beginning, or an entry that is removed
        BaseEntry,
        AddedEntry,
    };
    EditedLines entries_;
    std::vector<EditedLines> bodies_;
    Under under_ = Under::Nothing;

    std::string take_entry(std::string_view sign, const std::string& line);
    std::string take_body_line(std::string_view sign, const std::string& line);
};

std::string Composer::take(std::string_view line) {
    const std::string_view sign = line.substr(0, 2);
    if (line.size() < 3 || (sign != keep && sign != drop && sign != add))
        return "a change begins with '+ ', '- ' or, for a line that stays, two blanks";
    const std::string rest(line.substr(2));
    return is_body_line(rest) ? take_body_line(sign, rest) : take_entry(sign, rest);
}

std::string Composer::take_entry(std::string_view sign, const std::string& line) {
    if (sign == add) {
        entries_.add_here(line);
        under_ = Under::AddedEntry;
        return "";
    }
    if (std::string wrong = entries_.find(line, "the base"); !wrong.empty()) return wrong;
    if (sign == drop) entries_.remove_found();
    under_ = sign == drop ? Under::Nothing : Under::BaseEntry;
    return "";
}

std::string Composer::take_body_line(std::string_view sign, const std::string& line) {
    if (under_ == Under::AddedEntry && sign == add) {
        entries_.add_here(line);
        return "";
    }
    if (under_ != Under::BaseEntry)
        return "a line of a body is changed below its entry, and removed together with it";
    EditedLines& body = bodies_[entries_.found()];
    if (sign == add) {
        body.add_here(line);
        return "";
    }
    const std::string entry = "'" + entries_.lines()[entries_.found()] + "' of the base";
    if (std::string wrong = body.find(line, entry); !wrong.empty()) return wrong;
    if (sign == drop) body.remove_found();
    return "";
}

template <class Use>
void for_each_result(const EditedLines& edited, const Use& use_kept, std::string& text) {
    for (size_t i = 0; i <= edited.lines().size(); i++) {
        for (const std::string& line : edited.added_before(i)) text += line + "\n";
        if (i < edited.lines().size() && edited.is_kept(i)) {
            text += edited.lines()[i] + "\n";
            use_kept(i);
        }
    }
}

std::string Composer::text() const {
    std::string text;
    for_each_result(
        entries_,
        [&](size_t entry) {
            for_each_result(
                bodies_[entry], [](size_t) {}, text);
        },
        text);
    return text;
}

// Writes changes to lines in such a way that EditedLines finds each of them.
class Writer {
  public:
    Writer(const Lines& lines, std::string& out) : lines_(lines), out_(out) {
        for (const std::string& line : lines) times_[line]++;
    }
    // Writes a line, and before it as many others as are needed to find it.
    void name(std::string_view sign, size_t index) {
        size_t from = index;
        while (from > next_ && times_.at(lines_[from]) > 1) from--;
        for (; from < index; from++) put(keep, lines_[from]);
        put(sign, lines_[index]);
        next_ = index + 1;
    }
    // Writes the context after which lines are added before this line.
    void go_before(size_t index) {
        if (next_ != index) name(keep, index - 1);
    }
    void put(std::string_view sign, const std::string& line) {
        out_.append(sign).append(line).append("\n");
    }

  private:
    const Lines& lines_;
    std::string& out_;
    std::map<std::string, int> times_;
    size_t next_ = 0;
};

std::string body_changes(const Lines& base, const Lines& body) {
    std::string out;
    Writer writer(base, out);
    for (const LineChange& change : compare_lines(base, body)) {
        for (size_t i = change.from; i < change.to; i++) writer.name(drop, i);
        if (change.other_from == change.other_to) continue;
        writer.go_before(change.to);
        for (size_t i = change.other_from; i < change.other_to; i++) writer.put(add, body[i]);
    }
    return out;
}

struct Pair {
    size_t base;
    size_t other;
};

// The lines that two ranges have in common, in order.
std::vector<Pair> common(std::span<const std::string> base, std::span<const std::string> other,
                         Pair offset) {
    std::vector<Pair> pairs;
    size_t at = 0;
    size_t other_at = 0;
    const auto take_until = [&](size_t end) {
        for (; at < end; at++, other_at++)
            pairs.push_back({.base = offset.base + at, .other = offset.other + other_at});
    };
    for (const LineChange& change : compare_lines(base, other)) {
        take_until(change.from);
        at = change.to;
        other_at = change.other_to;
    }
    take_until(base.size());
    return pairs;
}

Lines whole_entries(const Entries& transcript) {
    Lines whole = transcript.entries;
    for (size_t i = 0; i < whole.size(); i++)
        for (const std::string& line : transcript.bodies[i]) whole[i] += "\n" + line;
    return whole;
}

// The entries that both have. Entries with equal bodies are matched before entries with different
// bodies.
std::vector<Pair> shared_entries(const Entries& base, const Entries& other) {
    std::vector<Pair> shared;
    Pair next = {.base = 0, .other = 0};
    const auto match_until = [&](Pair end) {
        const auto between =
            common(std::span(base.entries).subspan(next.base, end.base - next.base),
                   std::span(other.entries).subspan(next.other, end.other - next.other), next);
        shared.insert(shared.end(), between.begin(), between.end());
    };
    for (const Pair& same :
         common(whole_entries(base), whole_entries(other), {.base = 0, .other = 0})) {
        match_until(same);
        shared.push_back(same);
        next = {.base = same.base + 1, .other = same.other + 1};
    }
    match_until({.base = base.entries.size(), .other = other.entries.size()});
    return shared;
}

}  // namespace

std::variant<std::string, CaseError> apply_changes(std::string_view base, std::string_view changes,
                                                   int first_line) {
    const Entries entries(base);
    Composer composer(entries);
    for (int number = first_line; !changes.empty(); number++) {
        const std::string wrong = composer.take(take_field(changes, '\n'));
        if (!wrong.empty()) return CaseError{format("line %d: %s", number, wrong.c_str())};
    }
    return composer.text();
}

std::string changes_between(std::string_view base, std::string_view transcript) {
    const Entries before(base);
    const Entries after(transcript);
    std::string out;
    Writer writer(before.entries, out);
    const auto add_entry = [&](size_t index) {
        writer.put(add, after.entries[index]);
        for (const std::string& line : after.bodies[index]) writer.put(add, line);
    };
    Pair next = {.base = 0, .other = 0};
    const auto change_until = [&](Pair end) {
        for (; next.base < end.base; next.base++) writer.name(drop, next.base);
        if (next.other < end.other) writer.go_before(end.base);
        for (; next.other < end.other; next.other++) add_entry(next.other);
    };
    for (const Pair& both : shared_entries(before, after)) {
        change_until(both);
        const std::string changes =
            body_changes(before.bodies[both.base], after.bodies[both.other]);
        const auto lines = static_cast<size_t>(std::ranges::count(changes, '\n'));
        if (lines > after.bodies[both.other].size() + 1) {
            // Little of the body is left, so the new body is shorter than the changes.
            writer.name(drop, both.base);
            add_entry(both.other);
        } else if (lines > 0) {
            writer.name(keep, both.base);
            out += changes;
        }
        next = {.base = both.base + 1, .other = both.other + 1};
    }
    change_until({.base = before.entries.size(), .other = after.entries.size()});
    return out;
}
