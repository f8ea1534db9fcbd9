// The map of a table's chains. Graphviz computes the layout; the drawing is made here, so that its
// nodes are links and it uses the page's colours.

#include "plan/report/report_map.h"

#include <fmt/format.h>
#include <graphviz/gvc.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>
#include <sstream>

#include "plan/report/html.h"

namespace {

// Graphviz computes in inches; the drawing is in pixels.
constexpr double pixels_per_inch = 72;
constexpr double margin = 6;
constexpr double node_height = 42;
// Width of a character in the page's fixed-width font.
constexpr double letter_width = 8;
constexpr size_t shown_letters = 24;

struct Point {
    double x = 0;
    double y = 0;
};

struct Node {
    const Chain* chain;
    // Packets from the WAN that may begin a connection enter it.
    bool from_wan;
    Point centre;
};

struct Edge {
    size_t from;
    size_t to;
    // The numbers of the jumping rules in "from", counted from 1.
    std::vector<size_t> rules;
    // A start, and three control points for each Bezier curve that follows.
    std::vector<Point> course;
};

struct Graph {
    std::vector<Node> nodes;
    std::vector<Edge> edges;
    // All nodes have the width of the widest, so that they align in columns.
    double node_width = 0;
    double width = 0;
    double height = 0;
};

std::string node_name(const Chain& chain) {
    if (chain.name.size() <= shown_letters) return chain.name;
    return chain.name.substr(0, shown_letters - 1) + "~";
}

std::string node_note(const Node& node) {
    const Chain& chain = *node.chain;
    const std::string rules = chain.rules.empty() ? "no rules"
                                                  : fmt::format("{} rule{}", chain.rules.size(),
                                                                chain.rules.size() == 1 ? "" : "s");
    return (chain.policy ? *chain.policy + ", " : "") + rules + (node.from_wan ? ", WAN" : "");
}

void add_jumps(Graph& graph, size_t from) {
    const std::vector<Rule>& rules = graph.nodes[from].chain->rules;
    for (size_t rule = 0; rule < rules.size(); rule++) {
        const auto to = std::ranges::find(graph.nodes, rules[rule].target,
                                          [](const Node& node) { return node.chain->name; });
        if (to == graph.nodes.end()) continue;
        const auto target = static_cast<size_t>(to - graph.nodes.begin());
        auto edge = std::ranges::find_if(graph.edges, [&](const Edge& known) {
            return known.from == from && known.to == target;
        });
        if (edge == graph.edges.end())
            edge =
                graph.edges.insert(edge, {.from = from, .to = target, .rules = {}, .course = {}});
        edge->rules.push_back(rule + 1);
    }
}

Graph graph_of(const Netfilter& tables, std::string_view table, const ChainNames& from_wan) {
    Graph graph;
    size_t letters = 0;
    for (const Chain& chain : tables.chains) {
        if (chain.table != table) continue;
        graph.nodes.push_back({.chain = &chain,
                               .from_wan = from_wan.contains({chain.table, chain.name}),
                               .centre = {}});
        letters =
            std::max({letters, node_name(chain).size(), node_note(graph.nodes.back()).size()});
    }
    graph.node_width = static_cast<double>(letters) * letter_width + 20;
    for (size_t from = 0; from < graph.nodes.size(); from++) add_jumps(graph, from);
    return graph;
}

// Nodes are named by number, so no text of a router reaches Graphviz. Unreferenced chains are
// children of an invisible root, which puts them into the first column in order.
std::string dot_text(const Graph& graph) {
    std::string text = fmt::format(
        "digraph {{ rankdir=LR; ordering=out; ranksep=0.9; nodesep=0.14;\n"
        "node [shape=box, fixedsize=true, label=\"\", width={:.3f}, height={:.3f}];\n"
        "edge [arrowhead=none, tailport=e, headport=w];\nroot [width=0.1, height=0.1];\n",
        graph.node_width / pixels_per_inch, node_height / pixels_per_inch);
    for (size_t i = 0; i < graph.nodes.size(); i++) {
        const bool reached =
            std::ranges::any_of(graph.edges, [&](const Edge& edge) { return edge.to == i; });
        text += reached ? fmt::format("n{};\n", i) : fmt::format("root -> n{};\n", i);
    }
    for (const Edge& edge : graph.edges) text += fmt::format("n{} -> n{};\n", edge.from, edge.to);
    return text + "}\n";
}

// Graphviz' own text form of a layout ("plain"); empty on failure.
std::string plain_layout(const std::string& dot) {
    // One for the whole process, because creating it loads Graphviz' plug-ins and leaks memory.
    static GVC_t* const context = gvContext();
    if (!context) return "";
    const std::unique_ptr<graph_t, int (*)(graph_t*)> graph(agmemread(dot.c_str()), agclose);
    if (!graph || gvLayout(context, graph.get(), "dot") != 0) return "";
    char* data = nullptr;
    unsigned size = 0;
    const int status = gvRenderData(context, graph.get(), "plain", &data, &size);
    std::string layout;
    if (data) layout.assign(data, size);
    gvFreeRenderData(data);
    gvFreeLayout(context, graph.get());
    return status == 0 ? layout : "";
}

// Graphviz counts upwards from the lower left corner.
Point read_point(std::istream& in, const Graph& graph) {
    Point point;
    in >> point.x >> point.y;
    return {.x = point.x * pixels_per_inch, .y = graph.height - point.y * pixels_per_inch};
}

// The number of a node; nullopt for the root.
std::optional<size_t> read_node(std::istream& in, const Graph& graph) {
    std::string name;
    in >> name;
    size_t number = 0;
    if (!name.starts_with('n')) return std::nullopt;
    std::from_chars(name.data() + 1, name.data() + name.size(), number);
    return number < graph.nodes.size() ? std::optional(number) : std::nullopt;
}

void read_edge(std::istream& in, Graph& graph) {
    const std::optional<size_t> from = read_node(in, graph);
    const std::optional<size_t> to = read_node(in, graph);
    size_t points = 0;
    in >> points;
    for (Edge& edge : graph.edges) {
        if (edge.from != from || edge.to != to) continue;
        for (size_t i = 0; i < points && in; i++) edge.course.push_back(read_point(in, graph));
    }
}

// Lines "graph scale width height", "node name x y width height ...", "edge tail head n x1 y1 ...".
bool read_layout(const std::string& layout, Graph& graph) {
    std::istringstream lines(layout);
    std::string text;
    while (std::getline(lines, text)) {
        std::istringstream line(text);
        std::string kind;
        line >> kind;
        if (kind == "stop") return true;
        if (kind == "graph") {
            double scale = 1;
            line >> scale >> graph.width >> graph.height;
            graph.width *= pixels_per_inch;
            graph.height *= pixels_per_inch;
        } else if (kind == "node") {
            const std::optional<size_t> node = read_node(line, graph);
            const Point centre = read_point(line, graph);
            if (node) graph.nodes[*node].centre = centre;
        } else if (kind == "edge") {
            read_edge(line, graph);
        }
        if (!line) return false;
    }
    return false;
}

std::string numbers_text(const std::vector<size_t>& numbers) {
    std::string text;
    for (const size_t number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

// "4" or "4+2": the first rule, and the number of further ones.
std::string short_numbers(const std::vector<size_t>& numbers) {
    std::string text = std::to_string(numbers.front());
    if (numbers.size() > 1) text += fmt::format("+{}", numbers.size() - 1);
    return text;
}

void draw_edge(std::string& out, const Graph& graph, const Edge& edge, std::string_view table) {
    if (edge.course.size() < 4) return;
    std::string path = fmt::format("M{:.1f} {:.1f}C", edge.course[0].x, edge.course[0].y);
    for (size_t i = 1; i < edge.course.size(); i++)
        path +=
            fmt::format("{}{:.1f} {:.1f}", i == 1 ? "" : " ", edge.course[i].x, edge.course[i].y);
    const Point end = edge.course.back();
    out +=
        fmt::format(R"x(<g class="jump"><title>{} {} of {} to {}</title><path d="{}")x"
                    R"x( marker-end="url(#arrow-{})"/><text x="{:.1f}" y="{:.1f}">{}</text></g>)x"
                    "\n",
                    edge.rules.size() == 1 ? "rule" : "rules", numbers_text(edge.rules),
                    html_escaped(graph.nodes[edge.from].chain->name),
                    html_escaped(graph.nodes[edge.to].chain->name), path, anchor(table), end.x - 14,
                    end.y - 5, short_numbers(edge.rules));
}

void draw_node(std::string& out, const Graph& graph, const Node& node) {
    const Chain& chain = *node.chain;
    std::string kind = chain.policy ? "built-in" : "own";
    if (chain.rules.empty()) kind += " bare";
    if (chain.policy == "DROP") kind += " drop";
    if (node.from_wan) kind += " from-wan";
    const double left = node.centre.x - graph.node_width / 2;
    const double top = node.centre.y - node_height / 2;
    const std::string note = node_note(node);
    out += fmt::format(
        R"(<a href="#{}" class="node {}" aria-label="chain {}, {}"><rect x="{:.1f}" y="{:.1f}")"
        R"( width="{:.1f}" height="{:.1f}" rx="5"/>)",
        chain_id(chain.table, chain.name), kind, html_escaped(chain.name), html_escaped(note), left,
        top, graph.node_width, node_height);
    out += fmt::format(R"(<text x="{0:.1f}" y="{1:.1f}" class="name">{2}</text>)"
                       R"(<text x="{0:.1f}" y="{3:.1f}">{4}</text></a>)"
                       "\n",
                       left + 10, top + 18, html_escaped(node_name(chain)), top + 33,
                       html_escaped(note));
}

}  // namespace

std::string chain_id(std::string_view table, std::string_view name) {
    return "chain-" + anchor(table) + "-" + anchor(name);
}

std::string chain_map(const Netfilter& tables, std::string_view table, const ChainNames& from_wan) {
    Graph graph = graph_of(tables, table, from_wan);
    if (graph.nodes.empty() || !read_layout(plain_layout(dot_text(graph)), graph)) return "";
    // The root's column is cut off.
    double left = graph.width;
    for (const Node& node : graph.nodes)
        left = std::min(left, node.centre.x - graph.node_width / 2);
    const double width = graph.width - left + 2 * margin;
    const double height = graph.height + 2 * margin;
    std::string out = fmt::format(
        R"(<svg width="{0:.0f}" height="{1:.0f}" viewBox="{2:.0f} {3:.0f} {0:.0f} {1:.0f}")"
        R"( role="group" aria-label="chains of the table {4}">)",
        width, height, left - margin, -margin, html_escaped(table));
    out += fmt::format(
        R"(<defs><marker id="arrow-{}" viewBox="0 0 8 8" refX="8" refY="4" markerWidth="8")"
        R"( markerHeight="8" orient="auto"><path d="M0 0L8 4L0 8z"/></marker></defs>)"
        "\n",
        anchor(table));
    for (const Edge& edge : graph.edges) draw_edge(out, graph, edge, table);
    for (const Node& node : graph.nodes) draw_node(out, graph, node);
    return out + "</svg>";
}
