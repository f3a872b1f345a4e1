// libxml2's tree, walked strictly.
#include "SvgFile.h"

#include <algorithm>
#include <charconv>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace tool_test {
namespace {

[[noreturn]] void Refuse(const std::string& what) {
    throw std::runtime_error(what);
}

std::string_view NameOf(const xmlNode& node) {
    return reinterpret_cast<const char*>(node.name);
}

std::string TextOf(xmlChar* text) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> owned(text, xmlFree);
    return owned ? reinterpret_cast<const char*>(owned.get()) : "";
}

std::string Attribute(xmlNode& node, const char* name) {
    return TextOf(xmlGetProp(&node, reinterpret_cast<const xmlChar*>(name)));
}

double TakeNumber(std::string_view& text) {
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) {
        Refuse("a number is missing before '" + std::string(text) + "'");
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

void Take(std::string_view& text, char letter) {
    if (text.empty() || text.front() != letter) {
        Refuse(std::string("no '") + letter + "' before '" + std::string(text) + "'");
    }
    text.remove_prefix(1);
}

/// "M10,20 L30,20 L30,40 "
SvgPath ParsePath(std::string_view data) {
    SvgPath path;
    while (!data.empty()) {
        Take(data, path.empty() ? 'M' : 'L');
        const double x = TakeNumber(data);
        Take(data, ',');
        const double y = TakeNumber(data);
        Take(data, ' ');
        path.push_back({x, y});
    }
    if (path.size() < 2) {
        Refuse("a path without a line");
    }
    return path;
}

SvgGroup ReadGroup(xmlNode& node) {
    SvgGroup group;
    group.strokeWidth = Attribute(node, "stroke-width");
    group.stroke = Attribute(node, "stroke");
    group.dashes = Attribute(node, "stroke-dasharray");
    for (xmlNode* child = node.children; child != nullptr; child = child->next) {
        if (child->type != XML_ELEMENT_NODE) {
            continue;
        }
        if (NameOf(*child) != "path") {
            Refuse("a group with a " + std::string(NameOf(*child)));
        }
        group.paths.push_back(ParsePath(Attribute(*child, "d")));
    }
    return group;
}

/// A layer has no strokes of its own but groups that have.
bool IsLayer(xmlNode& node) {
    return Attribute(node, "groupmode") == "layer";
}

void ReadLayer(xmlNode& node, SvgFile& svg) {
    for (xmlNode* child = node.children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            svg.groups.push_back(ReadGroup(*child));
            svg.groups.back().layer = Attribute(node, "label");
        }
    }
}

SvgFile ReadRoot(xmlNode& root) {
    if (NameOf(root) != "svg" || root.ns == nullptr ||
        std::string_view(reinterpret_cast<const char*>(root.ns->href)) !=
            "http://www.w3.org/2000/svg") {
        Refuse("not an SVG document");
    }
    SvgFile svg;
    svg.width = Attribute(root, "width");
    svg.height = Attribute(root, "height");
    svg.viewBox = Attribute(root, "viewBox");
    for (xmlNode* child = root.children; child != nullptr; child = child->next) {
        if (child->type != XML_ELEMENT_NODE) {
            continue;
        }
        if (NameOf(*child) == "title") {
            svg.title = TextOf(xmlNodeGetContent(child));
        } else if (NameOf(*child) == "desc") {
            svg.description = TextOf(xmlNodeGetContent(child));
        } else if (NameOf(*child) == "g" && IsLayer(*child)) {
            ReadLayer(*child, svg);
        } else if (NameOf(*child) == "g") {
            svg.groups.push_back(ReadGroup(*child));
        } else {
            Refuse("a drawing with a " + std::string(NameOf(*child)));
        }
    }
    return svg;
}

} // namespace

std::size_t SvgFile::pathCount() const {
    std::size_t count = 0;
    for (const SvgGroup& group : groups) {
        count += group.paths.size();
    }
    return count;
}

SvgFile ReadSvg(const std::string& path) {
    const int options = XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET | XML_PARSE_HUGE;
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadFile(path.c_str(), nullptr, options), &xmlFreeDoc);
    xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (root == nullptr) {
        Refuse(path + " is not well-formed");
    }
    return ReadRoot(*root);
}

PageBox BoundsOf(const SvgFile& svg) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    PageBox box{kFar, kFar, -kFar, -kFar};
    for (const SvgGroup& group : svg.groups) {
        for (const SvgPath& path : group.paths) {
            for (const PagePoint& point : path) {
                box.left = std::min(box.left, point.x);
                box.right = std::max(box.right, point.x);
                box.top = std::min(box.top, point.y);
                box.bottom = std::max(box.bottom, point.y);
            }
        }
    }
    return box;
}

} // namespace tool_test
