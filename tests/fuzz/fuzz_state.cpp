// State files. An input is the text of one, which is loaded over trees that stand already. One
// that is refused changes nothing and is told with a place; one that is taken gives the same
// trees whatever was there, and what is written of them is read back.

#include "Zin/Exceptions.h"
#include "corra/Source.h"
#include "corra/StateFile.h"
#include "fuzz/Fuzz.h"
#include "fuzz/Scratch.h"

namespace {

using corra::Roots;
using fuzz::dumpOf;
using fuzz::require;

constexpr std::string_view file = "state.json";
constexpr std::string_view standing = R"({"format": "corra-state", "version": 1, "roots": {
    "pw": {"type": "Pseudowire::Config", "attributes": {
        "mtu": 1500,
        "connector": {"local:eth4.303": {"dot1qEncap": "<303,0>"}, "ldp:'a'": {"mtu": 9000}},
        "patch": {"a": {"connectorKey": ["local:eth4.303", "ldp:'a'"]}}}},
    "bench": {"type": "Lab::Bench", "attributes": {
        "label": "x", "reading": {"1": "a"}, "tag": [1, 2], "spare": {"s": {"mark": ["m"]}},
        "rack": {"r": {"cooled": true, "slot": {"t": {"sample": {"u": {}}}}}}}},
    "vpls": {"type": "Pseudowire::VplsConfig", "attributes": {"instance": {"i": {}}}}}})";

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Scratch scratch;
    const std::string_view text = fuzz::textOf(data, size);
    scratch.write(file, standing);
    corra::Source source({.at = scratch.path(file)});
    const std::string before = dumpOf(source.roots());
    scratch.write(file, text);
    try {
        source.reload();
    } catch (const corra::StateError& e) {
        const std::string what = e.what();
        require(what.starts_with(scratch.path(file) + ':'), "a fault names its file", what);
        require(!e.problem().empty(), "a fault is told", what);
        require(dumpOf(source.roots()) == before, "what is refused changes nothing", what);
        return 0;
    }
    const std::string loaded = dumpOf(source.roots());
    require(dumpOf(corra::readState(text, file)) == loaded, "an update equals a fresh load");
    const std::string written = corra::stateText(source.roots());
    const Roots again = corra::readState(written, file);
    require(dumpOf(again) == loaded, "what is written is read back", written);
    require(corra::stateText(again) == written, "equal trees have the same file", written);
    return 0;
}

std::size_t
LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    fuzz::Random random(seed);
    const std::string text(fuzz::textOf(data, size));
    return fuzz::put(fuzz::mutatedJson(text, random), data, size, most);
}
