// A strict reader of the report's pages.
#include "sound_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <vector>

#include "plan/report/report_page.h"

namespace {

// A parsed page. Only markup that the report itself writes is accepted, so that anything else is
// found.
class Page {
  public:
    explicit Page(const std::string& text) { read(text); }

    std::vector<std::string> problems;
    std::multiset<std::string> ids;
    std::set<std::string> links;

  private:
    std::vector<std::string> open_;

    void read(std::string_view text);
    void take_tag(std::string_view tag);
    void take_attributes(std::string_view rest);
};

const std::set<std::string, std::less<>> known_tags = {
    "a",      "body",  "code", "dd",     "defs",    "details", "div",   "dl",      "dt",
    "footer", "g",     "h1",   "h2",     "h3",      "h4",      "head",  "header",  "html",
    "input",  "label", "li",   "main",   "marker",  "meta",    "nav",   "ol",      "output",
    "p",      "path",  "rect", "script", "section", "span",    "style", "summary", "svg",
    "table",  "tbody", "td",   "text",   "th",      "thead",   "title", "tr",      "ul"};

const std::set<std::string, std::less<>> known_attributes = {
    "aria-label",   "autocomplete", "charset", "class",      "content",  "d",     "for",
    "height",       "hidden",       "href",    "http-equiv", "id",       "lang",  "marker-end",
    "markerHeight", "markerWidth",  "name",    "open",       "orient",   "refX",  "refY",
    "role",         "rx",           "scope",   "spellcheck", "tabindex", "title", "type",
    "viewBox",      "width",        "x",       "y"};

void Page::read(std::string_view text) {
    EXPECT_TRUE(text.starts_with("<!DOCTYPE html>\n"));
    text.remove_prefix(text.find('\n'));
    while (!text.empty()) {
        const size_t start = std::min(text.find('<'), text.size());
        if (text.substr(0, start).find('>') != std::string_view::npos)
            problems.emplace_back("'>' in a text: " + std::string(text.substr(0, start)));
        text.remove_prefix(start);
        if (text.empty()) break;
        const size_t end = text.find('>');
        if (end == std::string_view::npos) {
            problems.emplace_back("an unclosed tag");
            return;
        }
        take_tag(text.substr(1, end - 1));
        text.remove_prefix(end + 1);
        // Style and script are the files of the tree, byte for byte.
        for (const auto& [tag, own] :
             {std::pair("style", page_style), std::pair("script", page_script)}) {
            if (open_.empty() || open_.back() != tag) continue;
            if (!text.starts_with(own)) problems.emplace_back(std::string("another ") + tag);
            text.remove_prefix(own.size());
        }
    }
    for (const std::string& tag : open_) problems.push_back(tag + " is not closed");
}

void Page::take_tag(std::string_view tag) {
    const bool closes = tag.starts_with('/');
    if (closes) tag.remove_prefix(1);
    const bool empty = tag.ends_with('/');
    if (empty) tag.remove_suffix(1);
    const size_t end = std::min(tag.find(' '), tag.size());
    const std::string name(tag.substr(0, end));
    if (!known_tags.contains(name)) problems.push_back("a tag " + name);
    if (closes) {
        if (open_.empty() || open_.back() != name)
            problems.push_back("</" + name + "> closes another");
        else
            open_.pop_back();
        return;
    }
    if (!empty && name != "meta" && name != "input") open_.push_back(name);
    take_attributes(tag.substr(end));
}

void Page::take_attributes(std::string_view rest) {
    while (!rest.empty()) {
        if (!rest.starts_with(' ')) problems.emplace_back("no blank before an attribute");
        rest.remove_prefix(1);
        const std::string name(rest.substr(0, rest.find_first_of(" =")));
        rest.remove_prefix(name.size());
        if (!known_attributes.contains(name)) problems.push_back("an attribute " + name);
        if (!rest.starts_with("=\"")) continue;
        const std::string value(rest.substr(2, rest.find('"', 2) - 2));
        rest.remove_prefix(value.size() + 3);
        if (name == "id") ids.insert(value);
        if (name == "href" && !value.starts_with('#')) problems.push_back("a link to " + value);
        if (name == "href") links.insert(value.substr(1));
    }
}

}  // namespace

void expect_sound(const std::string& html) {
    const Page page(html);
    EXPECT_THAT(page.problems, testing::IsEmpty());
    for (const std::string& id : page.ids) EXPECT_EQ(page.ids.count(id), 1U) << id;
    for (const std::string& link : page.links) EXPECT_EQ(page.ids.count(link), 1U) << link;
}
