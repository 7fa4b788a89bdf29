#include "corra/WhyChanges.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "corra/WhyCommand.h"

namespace corra {

namespace {

constexpr std::size_t shownNames = 3;
constexpr std::size_t shownGroups = 5;

// Things that have the same news for the same reason.
struct Group {
    std::string news;
    std::string summary;
    std::vector<const Answer*> members;
};

using ByName = std::map<std::pair<std::string_view, std::string_view>, const Answer*>;

ByName byName(const Overview* overview) {
    ByName answers;
    if (!overview) return answers;
    for (const Answer& answer : overview->answers) {
        answers.emplace(
            std::pair<std::string_view, std::string_view>(answer.kind, answer.name),
            &answer);
    }
    return answers;
}

// Empty when there is none.
const char* newsOf(const Answer* before, const Answer& after) {
    if (before && before->verdict == after.verdict) {
        if (before->summary == after.summary) return "";
        if (after.verdict == Verdict::down) return "down for another reason";
    }
    switch (after.verdict) {
        case Verdict::up:
            return "up now";
        case Verdict::down:
            return "down now";
        case Verdict::unknown:
            break;
    }
    return "perhaps not up";
}

void add(std::vector<Group>& groups, std::string_view news, const Answer& answer) {
    for (Group& group : groups) {
        if (group.news != news || group.summary != answer.summary) continue;
        group.members.push_back(&answer);
        return;
    }
    groups.push_back({std::string(news), answer.summary, {&answer}});
}

std::string lineOf(const Group& group) {
    std::string line = group.news + ": ";
    for (std::size_t i = 0; i < std::min(group.members.size(), shownNames); ++i) {
        line += (i == 0 ? "" : ", ") + group.members[i]->name;
    }
    if (group.members.size() > shownNames) {
        line += " and " + std::to_string(group.members.size() - shownNames) + " more";
    }
    return group.summary.empty() ? line : line + ": " + group.summary;
}

}  // namespace

std::vector<std::string> changedLines(const Overview* before, const Overview& after) {
    std::vector<Group> groups;
    ByName gone = byName(before);
    for (const Answer& answer : after.answers) {
        const auto found = gone.find({answer.kind, answer.name});
        const Answer* const was = found == gone.end() ? nullptr : found->second;
        if (was) gone.erase(found);
        const std::string_view news = newsOf(was, answer);
        if (!news.empty()) add(groups, news, answer);
    }
    // The largest first.
    std::stable_sort(groups.begin(), groups.end(), [](const Group& a, const Group& b) {
        return a.members.size() > b.members.size();
    });
    Group removed{"gone", "", {}};
    for (const auto& [name, answer] : gone) removed.members.push_back(answer);
    if (!removed.members.empty()) groups.push_back(std::move(removed));

    if (groups.empty()) return {"nothing came up or went down"};
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < std::min(groups.size(), shownGroups); ++i) {
        lines.push_back(lineOf(groups[i]));
    }
    if (groups.size() > shownGroups) {
        lines.push_back(
            "and for " + std::to_string(groups.size() - shownGroups) + " more reasons");
    }
    const auto explained = std::find_if(groups.begin(), groups.end(), [](const Group& group) {
        return group.news != "gone" && group.members.front()->verdict == Verdict::down;
    });
    if (explained == groups.end()) return lines;
    const Answer& first = *explained->members.front();
    lines.push_back("why " + first.name + ':');
    for (const std::string& line : linesOf(first.reasons, false)) lines.push_back("  " + line);
    return lines;
}

}  // namespace corra
