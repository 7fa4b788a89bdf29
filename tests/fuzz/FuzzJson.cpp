#include <array>
#include <nlohmann/json.hpp>
#include <vector>

#include "fuzz/Fuzz.h"

namespace fuzz {

namespace {

using nlohmann::json;

void collect(json& node, std::vector<json*>& nodes) {
    nodes.push_back(&node);
    if (!node.is_structured()) return;
    for (json& below : node) collect(below, nodes);
}

json anyScalar(Random& random) {
    const std::array<json, 12> scalars{
        nullptr,
        true,
        false,
        0,
        -1,
        65536,
        4294967295U,
        std::uint64_t{1} << 63,
        0.5,
        "",
        json::array(),
        json::object()};
    return scalars[below(random, scalars.size())];
}

void mutate(json& root, Random& random) {
    std::vector<json*> nodes;
    collect(root, nodes);
    json& node = *nodes[below(random, nodes.size())];
    json& other = *nodes[below(random, nodes.size())];
    const auto anyMember = [&](json& of) {
        return std::next(of.begin(), static_cast<std::ptrdiff_t>(below(random, of.size())));
    };
    if (node.is_object() && !node.empty() && below(random, 2)) {
        const auto member = anyMember(node);
        json value = below(random, 2) ? json(other) : member.value();
        std::string name = member.key();
        if (below(random, 3) == 0) node.erase(member);
        if (below(random, 2)) name = mutated(name);
        if (below(random, 3)) node[name] = std::move(value);
    } else if (node.is_array() && !node.empty() && below(random, 2)) {
        if (below(random, 2)) {
            node.erase(anyMember(node));
        } else {
            json value = below(random, 2) ? json(other) : json(node.back());
            node.insert(anyMember(node), std::move(value));
        }
    } else if (node.is_string() && below(random, 4)) {
        node = mutated(node.get<std::string>());
    } else if (node.is_number_integer() && below(random, 2)) {
        const std::uint64_t near = node.get<std::uint64_t>() + below(random, 5) - 2;
        node = node.is_number_unsigned() ? json(near) : json(static_cast<std::int64_t>(near));
    } else {
        node = below(random, 2) ? anyScalar(random) : json(other);
    }
}

}  // namespace

std::string mutatedJson(const std::string& text, Random& random) {
    json root = json::parse(text, nullptr, false);
    if (root.is_discarded() || below(random, 8) == 0) return mutated(text);
    mutate(root, random);
    return root.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace fuzz
