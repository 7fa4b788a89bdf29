#include "corra/WhyCommand.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "corra/Console.h"
#include "corra/Dump.h"

namespace corra {

namespace {

using Json = nlohmann::ordered_json;

const char* textOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::up:
            return "up";
        case Verdict::down:
            return "down";
        case Verdict::unknown:
            break;
    }
    return "unknown";
}

const char* textOf(Reason::Kind kind) {
    switch (kind) {
        case Reason::Kind::cause:
            return "cause";
        case Reason::Kind::contradiction:
            return "contradiction";
        case Reason::Kind::missing:
            break;
    }
    return "missing";
}

Json jsonOf(const std::vector<Reason>& reasons) {
    Json array = Json::array();
    for (const Reason& reason : reasons) {
        array.push_back(
            {{"kind", textOf(reason.kind)},
             {"text", reason.text},
             {"places", reason.places},
             {"causes", jsonOf(reason.causes)}});
    }
    return array;
}

Json jsonOf(const Answer& answer) {
    return {
        {"kind", std::string(answer.kind)},
        {"name", answer.name},
        {"verdict", textOf(answer.verdict)},
        {"summary", answer.summary},
        {"reasons", jsonOf(answer.reasons)}};
}

int printJson(const std::vector<Answer>& answers) {
    JsonArray array;
    bool allUp = true;
    for (const Answer& answer : answers) {
        allUp = allUp && answer.verdict == Verdict::up;
        array.add(jsonOf(answer));
    }
    array.end();
    flushOutput();
    return allUp ? exitGood : exitFailed;
}

int printAnswers(const std::vector<Answer>& answers) {
    bool allUp = true;
    for (const Answer& answer : answers) {
        allUp = allUp && answer.verdict == Verdict::up;
        std::string first = answer.name;
        if (answers.size() > 1) first += " (" + std::string(answer.kind) + ')';
        printLine(first + answer.headline);
        for (const std::string& line : linesOf(answer.reasons, true)) printLine("  " + line);
    }
    flushOutput();
    return allUp ? exitGood : exitFailed;
}

std::string textOf(const Overview::Count& count) {
    std::string text = std::to_string(count.up) + " of " + std::to_string(count.all) + ' ' +
                       std::string(count.kind) + (count.kind.ends_with("ch") ? "es" : "s") +
                       " up";
    if (count.unknown != 0) text += " (" + std::to_string(count.unknown) + " not known)";
    return text;
}

int printOverview(const Overview& all) {
    bool allUp = all.missing.empty();
    for (const Answer& answer : all.answers) {
        if (answer.verdict == Verdict::up) continue;
        allUp = false;
        printLine(std::string(answer.kind) + ' ' + answer.name + ": " + answer.summary);
    }
    for (const Reason& reason : all.missing) printLine(reason.text);
    std::string counts;
    for (const Overview::Count& count : all.counts) {
        allUp = allUp && count.up == count.all;
        counts += (counts.empty() ? "" : ", ") + textOf(count);
    }
    printLine(counts);
    flushOutput();
    return allUp ? exitGood : exitFailed;
}

int sayUnknown(const Roots& roots, const std::string& name) {
    std::string text = "nothing is named '" + name + '\'';
    const auto near = namesLike(roots, name);
    for (std::size_t i = 0; i < near.size(); ++i)
        text += (i == 0 ? "; near it: " : ", ") + near[i];
    say(text);
    return exitFailed;
}

void addLines(
    const std::vector<Reason>& reasons,
    bool withPlaces,
    const std::string& indent,
    std::vector<std::string>& lines) {
    const std::string below = indent + "  ";
    for (const Reason& reason : reasons) {
        const bool isContradiction = reason.kind == Reason::Kind::contradiction;
        lines.push_back(
            indent + (isContradiction ? "contradiction: " : "") + reason.text + '.');
        if (withPlaces) {
            for (const std::string& place : reason.places) {
                std::string& line = lines.emplace_back(below);
                line += "see ";
                line += place;
            }
        }
        addLines(reason.causes, withPlaces, below, lines);
    }
}

}  // namespace

std::vector<std::string> linesOf(const std::vector<Reason>& reasons, bool withPlaces) {
    std::vector<std::string> lines;
    addLines(reasons, withPlaces, "", lines);
    return lines;
}

int why(const WhyOptions& options) {
    Source source(options.source);
    if (options.name.empty()) {
        const Overview all = overview(source.roots());
        return options.json ? printJson(all.answers) : printOverview(all);
    }
    const std::vector<Answer> answers = explain(source.roots(), options.name);
    if (answers.empty()) return sayUnknown(source.roots(), options.name);
    return options.json ? printJson(answers) : printAnswers(answers);
}

}  // namespace corra
