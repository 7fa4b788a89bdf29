// Captures. An input holds the files of one, each behind a line with its name:
//
//     === running-config.txt
//     l2vpn A type vpls
//     ...
//     === l2vpn-atom-binding.json
//     {...}
//
// It is loaded over an earlier one. If it is refused, nothing changes and the fault has a
// place; if it is taken, the trees are what they are without the earlier one, a state file
// holds them, and loading it again changes nothing.

#include <array>
#include <vector>

#include "corra/Import.h"
#include "corra/StateFile.h"
#include "fuzz/Fuzz.h"
#include "fuzz/Scratch.h"

namespace {

using corra::Roots;
using fuzz::below;
using fuzz::dumpOf;
using fuzz::require;
using Sections = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view mark = "=== ";
constexpr std::array<const char*, 4> files{
    "running-config.txt",
    "l2vpn-atom-binding.json",
    "l2vpn-atom-vc.json",
    "mpls-ldp-neighbor.json"};

constexpr const char* earlierConfig = R"(hostname pe1
l2vpn a type vpls
 member interface eth4.303
 member pseudowire pw6-2
  neighbor lsr-id 2.2.2.2
  pw-id 1006
 exit
exit
l2vpn b type vpls
 member interface eth1
exit
)";
constexpr const char* earlierBindings = R"({"2.2.2.2: 1006": {
    "destination": "2.2.2.2", "vcId": 1006, "localLabel": 22, "localControlWord": 1,
    "localVcType": "Ethernet", "localGroupID": 0, "localIfMtu": 1500,
    "lastFailureReason": "No Error", "remoteLabel": 21, "remoteControlWord": 1,
    "remoteVcType": "Ethernet", "remoteGroupID": 0, "remoteIfMtu": 1500}})";

Sections sectionsOf(std::string_view text) {
    Sections sections;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const std::string_view line = text.substr(0, end);
        if (line.starts_with(mark) && line.ends_with('\n')) {
            sections.emplace_back(line.substr(mark.size(), end - mark.size() - 1), "");
        } else if (!sections.empty()) {
            sections.back().second += line;
        }
        text.remove_prefix(end);
    }
    return sections;
}

// Other names than those of a capture are not written: they could lead anywhere.
void capture(const fuzz::Scratch& scratch, const Sections& sections) {
    for (const char* const name : files) {
        std::filesystem::remove(scratch.path(name));
        for (const auto& [section, text] : sections) {
            if (section == name) scratch.write(name, text);
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Scratch scratch;
    Roots updated;
    capture(scratch, {{files[0], earlierConfig}, {files[1], earlierBindings}});
    corra::importCapture(scratch.path(), updated);
    const std::string before = dumpOf(updated);

    Sections sections = sectionsOf(fuzz::textOf(data, size));
    // Without a configuration there is no capture.
    sections.insert(sections.begin(), {files[0], ""});
    capture(scratch, sections);
    Roots fresh;
    corra::Warnings warnings;
    std::string fault;
    try {
        warnings = corra::importCapture(scratch.path(), fresh);
    } catch (const corra::RouterConfigError& e) {
        require(e.line() != 0 && e.column() != 0, "a fault has a place", e.what());
        fault = e.what();
    } catch (const corra::StateError& e) {
        fault = e.what();
    }
    if (!fault.empty()) {
        require(fault.starts_with(scratch.path() + '/'), "a fault names its file", fault);
        require(fresh.empty(), "what is refused makes nothing", fault);
        try {
            corra::importCapture(scratch.path(), updated);
            require(false, "what is refused is refused again", fault);
        } catch (const std::runtime_error& e) {
            require(e.what() == fault, "a fault is told the same again", e.what());
        }
        require(dumpOf(updated) == before, "what is refused changes nothing", fault);
        return 0;
    }
    const std::string loaded = dumpOf(fresh);
    require(
        corra::importCapture(scratch.path(), updated) == warnings,
        "warnings do not depend on what was there");
    require(dumpOf(updated) == loaded, "an update equals a fresh import");
    const Roots again = corra::readState(corra::stateText(fresh), "state.json");
    require(dumpOf(again) == loaded, "a state file holds what was imported");
    return 0;
}

// One file: the JSON ones stay JSON, lines of the configuration are lost, doubled, moved and
// changed.
std::size_t
LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    fuzz::Random random(seed);
    Sections sections = sectionsOf(fuzz::textOf(data, size));
    if (sections.empty()) sections.emplace_back(files[below(random, files.size())], "");
    auto& [name, text] = sections[below(random, sections.size())];
    if (name != files[0]) {
        text = fuzz::mutatedJson(text, random);
    } else {
        std::vector<std::string> lines = fuzz::linesOf(text);
        if (lines.empty()) lines.emplace_back();
        const auto any = [&] {
            return lines.begin() + static_cast<std::ptrdiff_t>(below(random, lines.size()));
        };
        const auto at = any();
        switch (below(random, 5)) {
            case 0:
                lines.erase(at);
                break;
            case 1:
                lines.insert(at, std::string(*any()));
                break;
            case 2:
                std::swap(*at, *any());
                break;
            default:
                *at = fuzz::mutated(*at);
        }
        text.clear();
        for (const std::string& line : lines) text += line + '\n';
    }
    if (below(random, 64) == 0) name = files[below(random, files.size())];
    std::string whole;
    for (const auto& [section, contents] : sections) {
        whole += std::string(mark) + section + '\n' + contents;
        if (!whole.ends_with('\n')) whole += '\n';
    }
    return fuzz::put(whole, data, size, most);
}
