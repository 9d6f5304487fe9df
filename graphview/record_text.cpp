#include "graphview/record_text.h"

namespace vistrame {
namespace {

std::string Connection(const PinRecord& pin, const char* between) {
    std::string text = pin.type;
    if (!pin.allocator.empty()) {
        text += between + pin.allocator;
    }
    if (pin.samples) {
        text += between + std::to_string(*pin.samples) + " samples";
    }
    return text;
}

// Between the quotes of a DOT text.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return quoted + '"';
}

// A label that looks like a table: what is within it must not look like markup.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
    }
    return escaped;
}

std::string Node(const FilterRecord& filter, std::size_t number) {
    const std::string id = "f" + std::to_string(number);
    std::string inputs;
    std::string outputs;
    for (std::size_t i = 0; i < filter.pins.size(); ++i) {
        const PinRecord& pin = filter.pins[i];
        (pin.output ? outputs : inputs) +=
            "<td port=\"p" + std::to_string(i) + "\">" + Escaped(pin.name) + "</td>";
    }
    const auto row = [](const std::string& cells) {
        return cells.empty() ? ""
                             : R"(<tr><td border="0"><table border="0" cellborder="1" cellspacing="2"><tr>)" +
                                   cells + "</tr></table></td></tr>";
    };
    return "    " + id + R"( [label=<<table border="1" cellborder="0" style="rounded">)" + row(inputs) +
           "<tr><td><b>" + Escaped(filter.name) + "</b><br/>" + filter.state +
           (filter.clock ? ", the graph's clock" : "") + "</td></tr>" + row(outputs) + "</table>>]\n";
}

} // namespace

std::string AsText(const GraphRecord& graph) {
    std::string text;
    for (const FilterRecord& filter : graph) {
        text += filter.name + "  (" + filter.state + (filter.clock ? ", the graph's clock" : "") + ")  " +
                filter.classId + "\n";
        for (const PinRecord& pin : filter.pins) {
            text += pin.output ? "  -> " + pin.name : "  <- " + pin.name;
            if (pin.peer) {
                const FilterRecord& other = graph[pin.peer->filter];
                text += (pin.output ? " to " : " from ") + other.name + ", " +
                        other.pins[pin.peer->pin].name + "\n";
                text += "       " + Connection(pin, "; ");
            } else {
                text += ": not connected";
            }
            text += "\n";
        }
    }
    return text;
}

std::string AsDot(const GraphRecord& graph, const std::string& title) {
    std::string text =
        "digraph graph_of_the_player {\n"
        "    graph [rankdir=TB, label=" +
        Quoted(title) +
        ", labelloc=t, fontname=\"Helvetica\"]\n"
        "    node [shape=plaintext, fontname=\"Helvetica\", fontsize=11]\n"
        "    edge [fontname=\"Helvetica\", fontsize=9]\n";
    for (std::size_t i = 0; i < graph.size(); ++i) {
        text += Node(graph[i], i);
    }
    for (std::size_t i = 0; i < graph.size(); ++i) {
        for (std::size_t p = 0; p < graph[i].pins.size(); ++p) {
            const PinRecord& pin = graph[i].pins[p];
            if (pin.output && pin.peer) {
                const PinRecord& input = graph[pin.peer->filter].pins[pin.peer->pin];
                text += "    f" + std::to_string(i) + ":p" + std::to_string(p) + " -> f" +
                        std::to_string(pin.peer->filter) + ":p" + std::to_string(pin.peer->pin) +
                        " [label=" + Quoted(" " + Connection(input, "\n ")) + "]\n";
            }
        }
    }
    return text + "}\n";
}

} // namespace vistrame
